#include "probe/server/websocket/message_sizes.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace probe {
namespace {

// What a message is taken for that was asked for and did not come: for a filter that names a device, and for one that
// doesn't.
constexpr std::size_t kSilentOctets[] = {std::size_t{16} * 1024, std::size_t{256} * 1024};

constexpr std::size_t kOfDevice = 0;
constexpr std::size_t kOfAll = 1;

bool HasDevice(const std::string& filter) {
  const auto tree = nlohmann::json::parse(filter, nullptr, false);
  if (!tree.is_object()) return false;
  const auto mac = tree.find("mac");
  return mac != tree.end() && mac->is_string() && !mac->get_ref<const std::string&>().empty();
}

}  // namespace

void MessageSizes::Use(const TopicAndFilter& key) {
  const auto [known, is_new] = filters_.try_emplace(key);
  if (is_new) known->second.names_device = HasDevice(key.second);
  ++known->second.users;
}

void MessageSizes::Release(const TopicAndFilter& key) {
  --filters_.at(key).users;
}

void MessageSizes::Learn(const TopicAndFilter& key, std::size_t octets) {
  const auto found = filters_.find(key);
  if (found == filters_.end()) return;
  found->second.octets = octets;
  std::size_t& largest = topics_[key.first].largest[found->second.names_device ? kOfDevice : kOfAll];
  largest = std::max(largest, octets);
}

void MessageSizes::LearnOfAllDevices(const std::string& topic, std::size_t octets) {
  std::size_t& largest = topics_[topic].largest[kOfAll];
  largest = std::max(largest, octets);
}

void MessageSizes::NoteSilence(const TopicAndFilter& key) {
  const auto found = filters_.find(key);
  if (found != filters_.end() && SizeOf(key) == 0)
    found->second.octets = kSilentOctets[found->second.names_device ? kOfDevice : kOfAll];
}

bool MessageSizes::HasSids(const std::string& topic) const {
  const auto found = topics_.find(topic);
  return found == topics_.end() || found->second.has_sids;
}

std::size_t MessageSizes::SizeOf(const TopicAndFilter& key) const {
  const auto filter = filters_.find(key);
  if (filter == filters_.end()) return 0;
  if (filter->second.octets != 0) return filter->second.octets;
  const auto topic = topics_.find(key.first);
  if (topic == topics_.end()) return 0;
  const auto largest = [&topic](std::size_t kind) {
    return std::max(topic->second.largest[kind], topic->second.former[kind]);
  };
  if (!filter->second.names_device) return largest(kOfAll);
  // A topic may heed no such member and send of all devices.
  return largest(kOfDevice) != 0 ? largest(kOfDevice) : largest(kOfAll);
}

bool MessageSizes::IsMeasured(const TopicAndFilter& key) const {
  const auto found = filters_.find(key);
  return found != filters_.end() && found->second.octets != 0;
}

bool MessageSizes::NamesDevice(const TopicAndFilter& key) const {
  const auto found = filters_.find(key);
  return found != filters_.end() && found->second.names_device;
}

void MessageSizes::BeginWindow() {
  for (auto& [name, topic] : topics_) {
    for (const std::size_t kind : {kOfDevice, kOfAll}) {
      if (topic.largest[kind] != 0) topic.former[kind] = std::exchange(topic.largest[kind], 0);
    }
  }
}

void MessageSizes::ForgetUnused() {
  std::erase_if(filters_, [](const auto& entry) { return entry.second.users == 0; });
}

}  // namespace probe
