#include "probe/client/request_check.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "platform/topics.h"
#include "probe/text/nearest_word.h"

namespace probe {
namespace {

using nlohmann::json;

/// What a member of a filter may hold: an object with these members, or one of these texts; empty: anything.
struct Shape {
  std::map<std::string, Shape> members;
  std::vector<std::string> texts;
};

Shape ViewShape() {
  return {{}, {monitoring::kViews.begin(), monitoring::kViews.end()}};
}

Shape RankingShape(bool has_order) {
  Shape shape{{{"count", {}}, {"flag", {}}}, {}};
  if (has_order) shape.members["orderby"] = {{}, {"in", "out", "total"}};
  return shape;
}

/// The filters of all topics.
const std::map<std::string, Shape>& FilterShapes() {
  static const std::map<std::string, Shape> shapes = [] {
    const Shape series{{{"interval", ViewShape()}, {"mac", {}}}, {}};
    const Shape both{{{"traffic", RankingShape(true)}, {"clients", RankingShape(false)}}, {}};
    const Shape traffic{{{"traffic", RankingShape(true)}}, {}};
    return std::map<std::string, Shape>{
        {monitoring::kHealthMonitor, {{{"mac", {}}}, {}}},
        {monitoring::kTrafficMonitor, series},
        {monitoring::kSsidClientCountMonitor, series},
        {monitoring::kDevicesClientCountMonitor, series},
        {monitoring::kWirelessTopMonitor,
         {{{"access_point", both}, {"wireless_networks", both}, {"wireless_clients", traffic}}, {}}}};
  }();
  return shapes;
}

std::string Listed(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "\"" : ", \"") + word + "\"";
  return text;
}

/// Adds what `value`, which stands at `path`, has and its shape does not.
void Compare(const json& value, const Shape& shape, const std::string& path, std::vector<std::string>& warnings) {
  if (!shape.texts.empty() && value.is_string()) {
    const auto text = value.get<std::string>();
    // An empty text is the topic's default.
    if (text.empty() || std::ranges::find(shape.texts, text) != shape.texts.end()) return;
    warnings.push_back(path + ": there is no \"" + text + "\", only " + Listed(shape.texts));
  }
  if (shape.members.empty() || !value.is_object()) return;
  std::vector<std::string> known;
  for (const auto& [name, inner] : shape.members) known.push_back(name);
  for (const auto& [name, inner] : value.items()) {
    const auto member = shape.members.find(name);
    std::string place = path;
    place.append(".").append(name);
    if (member != shape.members.end()) {
      Compare(inner, member->second, place, warnings);
      continue;
    }
    place.append(": the topic knows no such key, only ").append(Listed(known)).append(DidYouMean(name, known));
    warnings.push_back(std::move(place));
  }
}

}  // namespace

std::vector<std::string> RequestWarnings(const std::string& topic, const json& request) {
  std::vector<std::string> warnings;
  const auto filter = FilterShapes().find(topic);
  if (filter == FilterShapes().end() || !request.is_array()) return warnings;
  const Shape element{{{"sid", {}}, {"filter", filter->second}}, {}};
  for (std::size_t i = 0; i < request.size(); ++i) {
    Compare(request[i], element, "request[" + std::to_string(i) + "]", warnings);
  }
  return warnings;
}

}  // namespace probe
