#pragma once

#include <string>

#include "monitor/engine/entry_points.h"

namespace probe {

/// The plug-in, loaded into this process, with its entry points.
///
/// The executable has to export the symbols of the contract, which the library takes from it.
///
/// Owner:   whoever loads it unloads it, after `stop_monitor` and when nothing of the plug-in is held any more: no
///          subscriber, no filter, no clean-up function.
/// Threads: one thread loads and unloads; the entry points as their own comments say.
class LoadedPlugin {
 public:
  /// Fails: throws `std::runtime_error` when the file cannot be loaded, was built for another version of the contract
  ///        or lacks an entry point; the text names the file and what is wrong.
  explicit LoadedPlugin(const std::string& path);
  ~LoadedPlugin();
  LoadedPlugin(const LoadedPlugin&) = delete;
  LoadedPlugin& operator=(const LoadedPlugin&) = delete;

  /// Calls `RegisterMonitors`.
  ///
  /// Fails: throws `std::runtime_error` when the plug-in answers that it has not started.
  void StartMonitors() const;

  /// The entry points, each with the type and the name that it has in `entry_points.h`.
  decltype(&::RegisterMonitors) RegisterMonitors = nullptr;
  decltype(&::stop_monitor) stop_monitor = nullptr;
  decltype(&::get_wireless_client_report) get_wireless_client_report = nullptr;
  decltype(&::get_wireless_client_report_avail_list) get_wireless_client_report_avail_list = nullptr;
  decltype(&::get_wireless_network_report) get_wireless_network_report = nullptr;
  decltype(&::get_wireless_network_report_avail_list) get_wireless_network_report_avail_list = nullptr;
  decltype(&::GetInterfaceTraffic) GetInterfaceTraffic = nullptr;

 private:
  void FindEntryPoints(const std::string& path);

  void* library_ = nullptr;
};

/// Where the plug-in that came with this executable lies: beside its folder, as in the install.
std::string DefaultPluginPath();

}  // namespace probe
