#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/require.h"
#include "probe/text/strict_json.h"
#include "probe/text/utf8.h"

using fuzzing::Require;

/// The output is UTF-8 for any input; strict JSON is not changed; and a second call changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  const std::string strict = probe::StrictJson(text);
  Require(probe::IsUtf8(strict));
  // The parser ends at a NUL, whatever follows.
  const bool is_strict = text.find('\0') == std::string::npos && nlohmann::json::accept(text);
  Require(!is_strict || strict == text);
  Require(probe::StrictJson(strict) == strict);
  return 0;
}
