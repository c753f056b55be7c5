#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace probe::recording {

/// A recording that cannot be read on; the text says why, for the person who wrote it.
class MalformedRecording : public std::runtime_error {
 public:
  /// `reason` may repeat names of the recording, whatever is in them: it is kept as one printable line.
  explicit MalformedRecording(const std::string& reason);
};

/// The members of one JSON object, asked for by name and type, so that what is misspelt or mistyped is found.
///
/// A member that is absent or null leaves the place to be filled as it was. A wrong type throws `MalformedRecording`,
/// and so does `RejectUnknown` when there was a member that nobody asked for.
class JsonObjectReader {
 public:
  /// `where` names the object in error texts; empty for the line itself. `object` must outlive the reader.
  JsonObjectReader(const nlohmann::ordered_json& object, std::string_view where);

  /// An object within another one: the member `name` of `parent`, or the member `key` or the element `index` of that.
  /// The reader of the parent and the texts must outlive this one.
  JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader& parent, std::string_view name,
                   std::string_view key = {});
  JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader& parent, std::string_view name,
                   std::size_t index);

  void Read(const char* name, std::string& text);
  void Read(const char* name, bool& flag);

  /// A whole number that fits the type of the place.
  template <typename Number>
  requires std::is_integral_v<Number>
  void Read(const char* name, Number& number) {
    const nlohmann::ordered_json* member = Find(name);
    if (member == nullptr) return;
    if constexpr (std::is_unsigned_v<Number>) {
      number = static_cast<Number>(Unsigned(name, *member, std::numeric_limits<Number>::max()));
    } else {
      number = static_cast<Number>(
          Signed(name, *member, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
    }
  }

  /// The member, whatever its type; null when it is absent or JSON null. A name is a literal here and everywhere.
  const nlohmann::ordered_json* Find(const char* name);

  /// The member, which must be an object or an array; null when it is absent or JSON null.
  const nlohmann::ordered_json* Object(const char* name);
  const nlohmann::ordered_json* Array(const char* name);

  /// Throws `MalformedRecording` when there is a member that nobody asked for.
  void RejectUnknown() const;

  /// How a member is called in error texts.
  std::string Path(std::string_view name) const;

 private:
  JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader* parent, std::string_view name,
                   std::string_view key, std::optional<std::size_t> index);

  /// How the object itself is called.
  std::string Where() const;

  std::uint64_t Unsigned(const char* name, const nlohmann::ordered_json& member, std::uint64_t most) const;
  std::int64_t Signed(const char* name, const nlohmann::ordered_json& member, std::int64_t least,
                      std::int64_t most) const;

  const nlohmann::ordered_json& object_;
  // Where the object stands is put into words for an error text only: a recording has millions of objects.
  const JsonObjectReader* parent_;
  std::string_view name_;
  std::string_view key_;
  std::optional<std::size_t> index_;
  std::vector<const char*> asked_;
};

}  // namespace probe::recording
