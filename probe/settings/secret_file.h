#pragma once

#include <string>

namespace probe {

/// Why a file is no place for a secret: its group or others may read it. Empty when they may not, and for what is no
/// regular file or isn't there. The text says what to do.
std::string WhyNotPrivate(const std::string& path);

}  // namespace probe
