#pragma once

#include <functional>
#include <map>
#include <string>

namespace probe {

/// One report of the plug-in, through its two entry points. Texts are JSON; "{}" when the engine does not run.
///
/// Threads: any, several at once. A call may wait for the part of a pass that writes the same data.
struct ReportCalls {
  std::function<std::string()> periods;                                ///< The days and weeks that there are.
  std::function<std::string(const std::string& request)> read_report;  ///< One of them.
};

/// What the HTTP interface asks the plug-in.
struct PluginCalls {
  ReportCalls clients;
  ReportCalls networks;

  /// As `GetInterfaceTraffic`.
  std::function<void(const std::string& mac, const std::string& interface,
                     std::map<std::string, unsigned long long>& out)>
      interface_traffic;
};

}  // namespace probe
