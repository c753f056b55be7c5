#include "probe/recording/json_object_reader.h"

#include <utility>

#include "probe/text/utf8.h"

namespace probe::recording {

MalformedRecording::MalformedRecording(const std::string& reason) : std::runtime_error(PrintableLine(reason)) {}

JsonObjectReader::JsonObjectReader(const nlohmann::ordered_json& object, std::string where)
    : object_(object), where_(std::move(where)) {
  if (!object_.is_object()) throw MalformedRecording((where_.empty() ? "the line" : where_) + " must be an object");
}

std::string JsonObjectReader::Path(const std::string& name) const {
  return where_.empty() ? name : where_ + "." + name;
}

std::string JsonObjectReader::Path(const std::string& name, std::size_t index) const {
  return Path(name) + "[" + std::to_string(index) + "]";
}

const nlohmann::ordered_json* JsonObjectReader::Find(const char* name) {
  asked_.insert(name);
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
    if (!asked_.contains(name)) throw MalformedRecording("unknown member " + Path(name));
  }
}

}  // namespace probe::recording
