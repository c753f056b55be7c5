#include "probe/server/websocket/envelope_key.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>

namespace probe {
namespace {

/// Follows the path to the present value, for as deep as anything of interest can stand. Gives up at what is no JSON.
class EnvelopeReader final : public nlohmann::json_sax<nlohmann::json> {
 public:
  explicit EnvelopeReader(bool stops_at_topic) : stops_at_topic_(stops_at_topic) {}

  std::string topic;
  std::vector<std::string> sids;

  bool string(string_t& text) override {
    if (IsInSidArray()) sids.push_back(text);
    if (!stops_at_topic_ || depth_ != 1 || keys_[1] != "name") return true;
    topic = text;
    return false;
  }
  bool key(string_t& name) override {
    if (depth_ < keys_.size()) keys_[depth_] = name;
    return true;
  }
  bool start_object(std::size_t) override { return Enter(""); }
  bool end_object() override { return Leave(); }
  bool start_array(std::size_t) override { return Enter(std::nullopt); }
  bool end_array() override { return Leave(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }

 private:
  /// Whether the value stands in an array "sid" at one of the two places where an envelope has it.
  bool IsInSidArray() const {
    if (depth_ == 3) return keys_[1] == "data" && keys_[2] == "sid" && !keys_[3];
    return depth_ == 4 && keys_[1] == "data" && keys_[2] && keys_[3] == "sid" && !keys_[4];
  }

  bool Enter(const std::optional<std::string>& key) {
    if (++depth_ < keys_.size()) keys_[depth_] = key;
    return true;
  }
  bool Leave() {
    --depth_;
    return true;
  }

  const bool stops_at_topic_;
  std::size_t depth_ = 0;                           // objects and arrays around the present value
  std::array<std::optional<std::string>, 5> keys_;  // depth -> key that leads on from there; nothing for an array
};

}  // namespace

std::string TopicOf(std::string_view envelope) {
  EnvelopeReader reader(true);
  nlohmann::json::sax_parse(envelope, &reader);
  return reader.topic;
}

std::vector<std::string> SidsOf(std::string_view envelope) {
  EnvelopeReader reader(false);
  nlohmann::json::sax_parse(envelope, &reader);
  std::sort(reader.sids.begin(), reader.sids.end());
  return reader.sids;
}

}  // namespace probe
