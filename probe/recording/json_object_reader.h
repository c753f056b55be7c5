#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>

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
  JsonObjectReader(const nlohmann::ordered_json& object, std::string where);

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

  /// The member, whatever its type; null when it is absent or JSON null.
  const nlohmann::ordered_json* Find(const char* name);

  /// The member, which must be an object or an array; null when it is absent or JSON null.
  const nlohmann::ordered_json* Object(const char* name);
  const nlohmann::ordered_json* Array(const char* name);

  /// Throws `MalformedRecording` when there is a member that nobody asked for.
  void RejectUnknown() const;

  /// How a member is called in error texts.
  std::string Path(const std::string& name) const;
  std::string Path(const std::string& name, std::size_t index) const;

 private:
  std::uint64_t Unsigned(const char* name, const nlohmann::ordered_json& member, std::uint64_t most) const;
  std::int64_t Signed(const char* name, const nlohmann::ordered_json& member, std::int64_t least,
                      std::int64_t most) const;

  const nlohmann::ordered_json& object_;
  std::string where_;
  std::set<std::string, std::less<>> asked_;
};

}  // namespace probe::recording
