#include "probe/recording/patched_state.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "probe/recording/device_state_reader.h"

namespace probe::recording {
namespace {

using Json = nlohmann::ordered_json;

/// The members of a state that hold records by name.
constexpr std::array<std::string_view, 5> kRecords{"interfaces", "ssid_interfaces", "radios", "portal_users",
                                                   "ssid_config"};

bool HoldsRecords(const std::string& member, const Json& value) {
  return value.is_object() && std::find(kRecords.begin(), kRecords.end(), member) != kRecords.end();
}

/// Adds a member that is not there yet. The library's own way looks through all that are.
void Append(Json& object, const std::string& name, Json value) {
  using Members = Json::object_t::Container;
  static_cast<Members&>(object.get_ref<Json::object_t&>()).emplace_back(name, std::move(value));
}

}  // namespace

PatchedState::PatchedState(Json state) : members_(Json::object()) {
  for (auto& [member, value] : state.items()) {
    if (!HoldsRecords(member, value)) {
      members_[member] = std::move(value);
      continue;
    }
    Records& records = records_[member];
    for (auto& [name, record] : value.items()) records[name] = std::move(record);
  }
}

void PatchedState::Merge(const Json& patch) {
  Json changed = Json::object();
  for (const auto& [member, change] : patch.items()) {
    if (HoldsRecords(member, change)) {
      MergeRecords(member, change, changed);
    } else if (change.is_null()) {
      records_.erase(member);
      members_.erase(member);
    } else {
      members_[member].merge_patch(change);
      changed[member] = members_[member];
    }
  }
  SnapshotOf(changed);  // complains of what is wrong
}

void PatchedState::MergeRecords(const std::string& member, const Json& patch, Json& changed) {
  Records& records = records_[member];
  changed[member] = Json::object();
  for (const auto& [name, change] : patch.items()) {
    if (change.is_null()) {
      records.erase(name);
      continue;
    }
    Json& record = records[name];
    record.merge_patch(change);
    Append(changed[member], name, record);
  }
}

DeviceSnapshot PatchedState::Snapshot() const {
  Json state = members_;
  for (const auto& [member, records] : records_) {
    state[member] = Json::object();
    for (const auto& [name, record] : records) Append(state[member], name, record);
  }
  return SnapshotOf(state);
}

}  // namespace probe::recording
