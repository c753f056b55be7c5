#include "probe/recording/line_json.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "probe/recording/json_object_reader.h"

namespace probe::recording {
namespace {

using Json = nlohmann::ordered_json;

/// Objects and arrays within one another in one line: as many as the probe takes from a client at the most, whose
/// request must fit. More would outgrow json-c's reader on the way to the plug-in.
constexpr std::size_t kMostDepth = 32;

/// Builds the value of a line. Refuses on the way what no reader after it would notice.
class Builder final : public nlohmann::json_sax<Json> {
 public:
  explicit Builder(Json& root) : root_(root) {}

  bool null() override { return Add(nullptr); }
  bool boolean(bool value) override { return Add(value); }
  bool number_integer(number_integer_t value) override { return Add(value); }
  bool number_unsigned(number_unsigned_t value) override { return Add(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return Add(value); }
  bool string(string_t& value) override { return Add(std::move(value)); }
  bool binary(binary_t& value) override { return Add(Json::binary(std::move(value))); }
  bool start_object(std::size_t /*members*/) override { return Open(Json::object()); }
  bool start_array(std::size_t /*elements*/) override { return Open(Json::array()); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(string_t& name) override {
    const auto [member, is_new] = open_.back()->get_ref<Json::object_t&>().emplace(name, nullptr);
    if (!is_new) throw MalformedRecording("duplicate member " + name);
    member_ = &member->second;
    return true;
  }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    const auto* wrong = dynamic_cast<const Json::parse_error*>(&error);
    if (wrong == nullptr) throw MalformedRecording("no JSON: a number is too large");
    throw MalformedRecording("no JSON: at octet " + std::to_string(wrong->byte));
  }

 private:
  bool Add(Json value) {
    Place(std::move(value));
    return true;
  }

  bool Open(Json value) {
    if (open_.size() == kMostDepth) throw MalformedRecording("nested too deeply");
    open_.push_back(&Place(std::move(value)));
    return true;
  }

  bool Close() {
    open_.pop_back();
    return true;
  }

  /// Puts a value where the next one belongs. It stays there for as long as it is open itself.
  Json& Place(Json value) {
    if (open_.empty()) return root_ = std::move(value);
    if (open_.back()->is_object()) return *member_ = std::move(value);
    return open_.back()->emplace_back(std::move(value));
  }

  Json& root_;
  std::vector<Json*> open_;  // objects and arrays, each within the one before
  Json* member_ = nullptr;   // of the innermost object, whose value comes next
};

}  // namespace

nlohmann::ordered_json ParseJson(const std::string& text) {
  Json value;
  Builder builder(value);
  Json::sax_parse(text, &builder);
  const auto nul = text.find('\0');  // which the parser takes for the end of the text
  if (nul != std::string::npos) throw MalformedRecording("no JSON: at octet " + std::to_string(nul + 1));
  return value;
}

}  // namespace probe::recording
