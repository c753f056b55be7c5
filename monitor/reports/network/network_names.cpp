#include "monitor/reports/network/network_names.h"

#include <algorithm>
#include <set>
#include <utility>

#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_collect.h"

namespace vexora_probe::monitor {

void AccessPointNames::Read(const FamilySums& sampled) {
  if (sampled.is_week_due) {
    for (const auto& [mac, sum] : sampled.ids) names_.try_emplace(mac);
  }
  for (auto& [mac, name] : names_) {
    NetworksAttr info;
    const bool is_known = ReadAccessPointInfo(mac, info);
    if (is_known == name.is_known && info == name.info) continue;
    name.is_changed = true;
    name.is_known = is_known;
    name.info = std::move(info);
  }
}

void AccessPointNames::Store(const std::string& week, bool has_new_records, Report& report) {
  are_all_due_ = are_all_due_ || has_new_records;
  if (are_all_due_) {
    WriteAll(week, report);
  } else {
    WriteChanged(week, report);
  }
  for (auto& [mac, name] : names_) name.is_changed = false;
  if (!std::exchange(are_all_due_, false)) return;
  std::erase_if(names_, [&](const auto& name) {
    for (const auto& [period, buckets] : report) {
      for (const auto& [key, records] : buckets) {
        if (records.contains(name.first)) return false;
      }
    }
    return true;
  });
}

void AccessPointNames::Write(const Name& name, bool is_current_week, NetworksAttr& attributes) {
  if (!name.is_known && !is_current_week) return;
  attributes.apname = name.info.apname;  // empty where the host does not know it
  attributes.model = name.info.model;
  attributes.version = name.info.version;
}

void AccessPointNames::WriteAll(const std::string& week, Report& report) const {
  for (auto& [period, buckets] : report) {
    for (auto& [key, records] : buckets) {
      auto name = names_.begin();  // sorted like the records
      for (auto& [mac, record] : records) {
        while (name != names_.end() && name->first < mac) ++name;
        if (name == names_.end()) break;
        if (name->first == mac) Write(name->second, key == week, record.attributes);
      }
    }
  }
}

void AccessPointNames::WriteChanged(const std::string& week, Report& report) const {
  for (const auto& [mac, name] : names_) {
    if (!name.is_changed) continue;
    for (auto& [period, buckets] : report) {
      for (auto& [key, records] : buckets) {
        const auto record = records.find(mac);
        if (record != records.end()) Write(name, key == week, record->second.attributes);
      }
    }
  }
}

}  // namespace vexora_probe::monitor
