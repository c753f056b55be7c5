#pragma once

#include <string>
#include <string_view>

namespace probe {

/// Whether `text` is UTF-8: no overlong form, no surrogate, nothing above U+10FFFF, no cut character.
/// Source: RFC 3629, section 4.
bool IsUtf8(std::string_view text);

/// `text` with every octet sequence that is not UTF-8 replaced by U+FFFD. Valid text comes back as it was.
std::string ReplaceInvalidUtf8(std::string text);

/// `text` for one log line: valid UTF-8, with line ends, control characters and bidirectional controls escaped as
/// `\xNN` or `\uNNNN`.
std::string PrintableLine(std::string_view text);

/// A JSON text as one line for a terminal: the same value, with control characters, line separators and bidirectional
/// controls in its strings escaped as `\uNNNN`, and line ends and tabs between its tokens as blanks.
///
/// What is no JSON is treated alike, so that nothing in it can steer a terminal.
/// Source: RFC 8259, sections 2 and 7.
std::string PrintableJson(std::string_view json);

}  // namespace probe
