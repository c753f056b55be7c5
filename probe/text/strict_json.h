#pragma once

#include <string>

namespace probe {

/// Turns JSON as json-c writes it into JSON that every reader takes: NaN and Infinity, for which JSON has no notation,
/// become null, and what is not UTF-8 becomes U+FFFD.
///
/// Source: RFC 8259, sections 6 and 8.1.
std::string StrictJson(std::string text);

}  // namespace probe
