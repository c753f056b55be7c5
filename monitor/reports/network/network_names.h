#pragma once

#include <map>
#include <string>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

namespace vexora_probe::monitor {

/// The names of access points: what the host tells of them, and which records still lack it.
///
/// Every record of an access point has the name that the host gave last; where the host knows it no longer, the record
/// of the current week, which is new in every pass, has none. Names seldom change, so most passes have nothing to
/// write.
class AccessPointNames {
 public:
  /// Asks the host for the names of all access points that have records, and of those that have samples.
  void Read(const FamilySums& sampled);

  /// Writes names into the records: all of them after `has_new_records`, those that have changed otherwise.
  void Store(const std::string& week, bool has_new_records, Report& report);

 private:
  struct Name {
    bool is_known = false;
    bool is_changed = false;  // since the records were written
    NetworksAttr info;
  };

  static void Write(const Name& name, bool is_current_week, NetworksAttr& attributes);
  void WriteAll(const std::string& week, Report& report) const;
  void WriteChanged(const std::string& week, Report& report) const;

  std::map<std::string, Name> names_;  // by MAC
  bool are_all_due_ = false;           // new records that lack their names, also after a shortage of memory
};

}  // namespace vexora_probe::monitor
