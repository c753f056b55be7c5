#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace monitoring {

/// Appends an integer to a JSON text.
void AppendInteger(std::string& text, std::int64_t value);

/// Appends a JSON string, escaped as json-c does. Octets that are no UTF-8 stay as they are.
void AppendQuoted(std::string& text, std::string_view value);

/// Writes a JSON object as text, in the form that json-c gives a tree: for messages with many members, whose tree takes
/// several times the time and a dozen times the memory.
///
/// Keys count as far as a NUL, as in json-c. Those that are equal up to there must follow one another; the last value
/// stands in place of the others.
class ObjectWriter {
 public:
  /// Opens an object at the end of `text`, to which nobody else appends but values.
  explicit ObjectWriter(std::string& text) : text_(text) { text_ += '{'; }

  /// Begins the member of a key, whose value is appended to the text next. `key` must live until the next call.
  void Begin(const std::string& key);

  /// Closes the object. The last call.
  void Close() { text_ += " }"; }

 private:
  std::string& text_;
  std::string_view key_;   // of the newest member
  std::size_t value_ = 0;  // where its value begins; 0 while there is no member
};

}  // namespace monitoring
