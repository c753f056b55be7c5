#pragma once

namespace probe {

/// "0.1.0".
extern const char* const kVersion;

/// The same with the commit that was built, where that is known: "0.1.0 (commit 883aad2b1c04)".
extern const char* const kVersionText;

}  // namespace probe
