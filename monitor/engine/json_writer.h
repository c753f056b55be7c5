#pragma once

#include <json-c/json.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace monitoring {

/// Appends an integer to a JSON text.
void AppendInteger(std::string& text, std::int64_t value);

/// Appends a number as json-c writes it: with up to 17 digits, and ".0" where it would look like an integer; infinity
/// and not-a-number as "Infinity" and "NaN".
void AppendReal(std::string& text, double value);

/// Appends a JSON string, escaped as json-c does. Octets that are no UTF-8 stay as they are.
void AppendQuoted(std::string& text, std::string_view value);

/// Appends a value that has a serialiser of its own.
using SerialisedWriter = std::function<void(std::string& text, json_object* value)>;

/// Appends a json-c tree, null included, as json-c itself does with spaces. Unlike json-c it fails when there is no
/// memory, where that leaves out what it has no room for.
///
/// Fails: with `std::bad_alloc`.
void AppendTree(std::string& text, json_object* tree);

/// The same, with `append_serialised` for the values that have a serialiser and are no real numbers. It may take out
/// what stands in the text.
void AppendTree(std::string& text, json_object* tree, const SerialisedWriter& append_serialised);

/// Writes a JSON array as text, in the form that json-c gives a tree.
class ArrayWriter {
 public:
  /// Opens an array at the end of `text`, to which nobody else appends but elements.
  explicit ArrayWriter(std::string& text) : text_(text) { text_ += '['; }

  /// Begins an element, which is appended to the text next.
  void Begin() { text_ += std::exchange(has_elements_, true) ? ", " : " "; }

  /// Closes the array. The last call.
  void Close() { text_ += " ]"; }

 private:
  std::string& text_;
  bool has_elements_ = false;
};

/// Writes a JSON object as text, in the form that json-c gives a tree: for messages with many members, whose tree takes
/// several times the time and a dozen times the memory.
///
/// Keys count as far as a NUL, as in json-c. Those that are equal up to there must follow one another; the last value
/// stands in place of the others.
class ObjectWriter {
 public:
  /// Opens an object at the end of `text`, to which nobody else appends but values.
  explicit ObjectWriter(std::string& text) : text_(text) { text_ += '{'; }

  /// Begins the member of a key, whose value is appended to the text next.
  void Begin(const std::string& key);

  /// The same for a key that is a constant.
  void Begin(const char* key);

  /// Closes the object. The last call.
  void Close() { text_ += " }"; }

 private:
  std::string& text_;
  std::size_t key_ = 0;  // where the newest member's key stands in the text, quoted
  std::size_t key_size_ = 0;
  std::size_t value_ = 0;  // where its value begins; 0 while there is no member
};

}  // namespace monitoring
