#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/require.h"
#include "probe/text/strict_json.h"
#include "probe/text/utf8.h"

using fuzzing::Require;

/// Whatever the plug-in writes, what goes out is UTF-8; what was strict JSON before is not touched, and what has been
/// made strict once stays as it is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const std::string strict = probe::StrictJson(text);
  Require(probe::IsUtf8(strict));
  // The parser takes a NUL for the end of the text, whatever follows.
  const bool is_strict = text.find('\0') == std::string::npos && nlohmann::json::accept(text);
  Require(!is_strict || strict == text);
  Require(probe::StrictJson(strict) == strict);
  return 0;
}
