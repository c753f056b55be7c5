#include "probe/server/websocket/envelope_key.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>

#include "probe/server/websocket/json_sax_defaults.h"

namespace probe {
namespace {

/// Follows the path to the present value, for as deep as anything of interest can stand.
class EnvelopeReader : public JsonSaxDefaults {
 public:
  bool key(string_t& name) override {
    if (depth_ < keys_.size()) keys_[depth_] = name;
    return true;
  }
  bool start_object(std::size_t) override { return Enter(true); }
  bool end_object() override { return Leave(); }
  bool start_array(std::size_t) override { return Enter(false); }
  bool end_array() override { return Leave(); }

 protected:
  /// How many objects and arrays the present value stands in.
  std::size_t depth() const { return depth_; }

  /// The key that leads on from the object at `depth`; empty for an array.
  const std::string& KeyAt(std::size_t depth) const { return keys_[depth]; }

  /// Whether the value stands in an array "sid" at one of the two places where an envelope has it.
  bool IsInSidArray() const {
    if (depth_ == 3) return IsObject(1) && IsObject(2) && !is_object_[3] && keys_[1] == "data" && keys_[2] == "sid";
    if (depth_ != 4) return false;
    return IsObject(1) && IsObject(2) && IsObject(3) && !is_object_[4] && keys_[1] == "data" && keys_[3] == "sid";
  }

 private:
  bool IsObject(std::size_t depth) const { return is_object_[depth]; }

  bool Enter(bool is_object) {
    ++depth_;
    if (depth_ < keys_.size()) {
      keys_[depth_].clear();
      is_object_[depth_] = is_object;
    }
    return true;
  }
  bool Leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::array<std::string, 5> keys_;
  std::array<bool, 5> is_object_{};
};

/// Stops as soon as it has the name.
class TopicReader final : public EnvelopeReader {
 public:
  std::string topic;

  bool string(string_t& text) override {
    if (depth() != 1 || KeyAt(1) != "name") return true;
    topic = text;
    return false;
  }
};

class SidReader final : public EnvelopeReader {
 public:
  std::vector<std::string> sids;

  bool string(string_t& text) override {
    if (IsInSidArray()) sids.push_back(text);
    return true;
  }
};

}  // namespace

std::string TopicOf(std::string_view envelope) {
  TopicReader reader;
  nlohmann::json::sax_parse(envelope, &reader);
  return reader.topic;
}

std::vector<std::string> SidsOf(std::string_view envelope) {
  SidReader reader;
  nlohmann::json::sax_parse(envelope, &reader);
  std::sort(reader.sids.begin(), reader.sids.end());
  return reader.sids;
}

}  // namespace probe
