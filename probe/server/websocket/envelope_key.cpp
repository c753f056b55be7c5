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
  enum class Until { kTopic, kSids, kEnd };

  explicit EnvelopeReader(Until until)
      : stops_at_topic_(until == Until::kTopic), stops_at_sids_(until == Until::kSids) {}

  std::string topic;
  std::vector<std::string> sids;

  /// Whether the array of SIDs has been read to its end.
  bool has_sids() const { return has_sids_; }

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
  bool end_array() override {
    has_sids_ = has_sids_ || IsInSidArray();
    return Leave() && !(stops_at_sids_ && has_sids_);
  }
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
  const bool stops_at_sids_;
  bool has_sids_ = false;
  std::size_t depth_ = 0;                           // objects and arrays around the present value
  std::array<std::optional<std::string>, 5> keys_;  // depth -> key that leads on from there; nothing for an array
};

/// Whether nothing follows but the ends of the two or three objects around an array of SIDs.
bool EndsEnvelope(std::string_view text) {
  const auto braces = std::count(text.begin(), text.end(), '}');
  return (braces == 2 || braces == 3) && text.find_first_not_of(" }\n") == std::string_view::npos;
}

/// The SIDs that stand last in an envelope; empty when it ends with something else.
std::vector<std::string> SidsAtEnd(std::string_view end) {
  static constexpr std::string_view kKey = R"("sid")";
  const std::size_t close = end.rfind(']');
  if (close == std::string_view::npos || !EndsEnvelope(end.substr(close + 1))) return {};
  // A SID may itself be "sid": the key is the one that is followed by an array.
  for (std::size_t key = end.rfind(kKey); key != std::string_view::npos && key > 0; key = end.rfind(kKey, key - 1)) {
    const std::size_t colon = end.find_first_not_of(' ', key + kKey.size());
    if (colon == std::string_view::npos || end[colon] != ':') continue;
    const std::size_t open = end.find_first_not_of(' ', colon + 1);
    if (open == std::string_view::npos || end[open] != '[' || open > close) continue;
    const auto sids = nlohmann::json::parse(end.substr(open, close + 1 - open), nullptr, false);
    const bool are_texts =
        sids.is_array() && std::all_of(sids.begin(), sids.end(), [](const auto& sid) { return sid.is_string(); });
    return are_texts ? sids.get<std::vector<std::string>>() : std::vector<std::string>();
  }
  return {};
}

}  // namespace

std::string TopicOf(std::string_view envelope) {
  EnvelopeReader reader(EnvelopeReader::Until::kTopic);
  nlohmann::json::sax_parse(envelope, &reader);
  return reader.topic;
}

std::vector<std::string> SidsOf(std::string_view envelope) {
  EnvelopeReader reader(EnvelopeReader::Until::kEnd);
  nlohmann::json::sax_parse(envelope, &reader);
  std::sort(reader.sids.begin(), reader.sids.end());
  return reader.sids;
}

std::vector<std::string> SidsAtEnds(std::string_view envelope) {
  auto sids = SidsAtEnd(envelope);
  if (!sids.empty()) return sids;
  EnvelopeReader reader(EnvelopeReader::Until::kSids);
  nlohmann::json::sax_parse(envelope, &reader);
  return reader.has_sids() ? std::move(reader.sids) : std::vector<std::string>();
}

}  // namespace probe
