#include "probe/recording/json_object_reader.h"

#include <algorithm>

#include "probe/text/utf8.h"

namespace probe::recording {

MalformedRecording::MalformedRecording(const std::string& reason) : std::runtime_error(PrintableLine(reason)) {}

JsonObjectReader::JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader* parent,
                                   std::string_view name, std::string_view key, std::optional<std::size_t> index)
    : object_(object), parent_(parent), name_(name), key_(key), index_(index) {
  if (object_.is_object()) return;
  const std::string where = Where();
  throw MalformedRecording((where.empty() ? "the line" : where) + " must be an object");
}

JsonObjectReader::JsonObjectReader(const nlohmann::ordered_json& object, std::string_view where)
    : JsonObjectReader(object, nullptr, where, {}, std::nullopt) {}

JsonObjectReader::JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader& parent,
                                   std::string_view name, std::string_view key)
    : JsonObjectReader(object, &parent, name, key, std::nullopt) {}

JsonObjectReader::JsonObjectReader(const nlohmann::ordered_json& object, const JsonObjectReader& parent,
                                   std::string_view name, std::size_t index)
    : JsonObjectReader(object, &parent, name, {}, index) {}

std::string JsonObjectReader::Where() const {
  std::string where = parent_ == nullptr ? std::string(name_) : parent_->Path(name_);
  if (key_.data() != nullptr) where.append(".").append(key_);
  if (index_) where += "[" + std::to_string(*index_) + "]";
  return where;
}

std::string JsonObjectReader::Path(std::string_view name) const {
  std::string path = Where();
  if (!path.empty()) path += '.';
  return path.append(name);
}

const nlohmann::ordered_json* JsonObjectReader::Find(const char* name) {
  asked_.push_back(name);
  const auto found = object_.find(name);
  return found == object_.end() || found->is_null() ? nullptr : &*found;
}

void JsonObjectReader::Read(const char* name, std::string& text) {
  const nlohmann::ordered_json* member = Find(name);
  if (member == nullptr) return;
  if (!member->is_string()) throw MalformedRecording(Path(name) + " must be a text");
  text = member->get<std::string>();
}

void JsonObjectReader::Read(const char* name, bool& flag) {
  const nlohmann::ordered_json* member = Find(name);
  if (member == nullptr) return;
  if (!member->is_boolean()) throw MalformedRecording(Path(name) + " must be true or false");
  flag = member->get<bool>();
}

std::uint64_t JsonObjectReader::Unsigned(const char* name, const nlohmann::ordered_json& member,
                                         std::uint64_t most) const {
  if (!member.is_number_unsigned() || member.get<std::uint64_t>() > most) {
    throw MalformedRecording(Path(name) + " must be a whole number from 0 to " + std::to_string(most));
  }
  return member.get<std::uint64_t>();
}

std::int64_t JsonObjectReader::Signed(const char* name, const nlohmann::ordered_json& member, std::int64_t least,
                                      std::int64_t most) const {
  // Asked first, for `get` makes a number above 2^63 - 1 negative.
  const bool is_beyond = member.is_number_unsigned() && member.get<std::uint64_t>() > static_cast<std::uint64_t>(most);
  if (!member.is_number_integer() || is_beyond || member.get<std::int64_t>() < least ||
      member.get<std::int64_t>() > most) {
    throw MalformedRecording(Path(name) + " must be a whole number from " + std::to_string(least) + " to " +
                             std::to_string(most));
  }
  return member.get<std::int64_t>();
}

const nlohmann::ordered_json* JsonObjectReader::Object(const char* name) {
  const nlohmann::ordered_json* member = Find(name);
  if (member != nullptr && !member->is_object()) throw MalformedRecording(Path(name) + " must be an object");
  return member;
}

const nlohmann::ordered_json* JsonObjectReader::Array(const char* name) {
  const nlohmann::ordered_json* member = Find(name);
  if (member != nullptr && !member->is_array()) throw MalformedRecording(Path(name) + " must be an array");
  return member;
}

void JsonObjectReader::RejectUnknown() const {
  for (const auto& [name, value] : object_.items()) {
    const auto is_this = [&text = name](const char* asked) { return text == asked; };
    if (std::none_of(asked_.begin(), asked_.end(), is_this)) throw MalformedRecording("unknown member " + Path(name));
  }
}

}  // namespace probe::recording
