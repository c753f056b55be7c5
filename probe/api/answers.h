#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"
#include "probe/sources/snmp/device_status.h"

namespace probe {

/// A JSON text as an answer. `caching` other than `kNoStore` gives it an ETag.
HttpAnswer JsonAnswer(std::string text, Caching caching);

/// How the polls of the devices that answer SNMP go, in the order of the settings.
using PollStatuses = std::function<std::vector<snmp::DeviceStatus>()>;

/// Seconds that the local time is ahead of UTC at this moment.
long OffsetAt(time_t at);

/// The devices that the centre knows, in its order, or the one of the argument `mac`, and how they are polled; an empty
/// `polls` leaves the latter out.
HttpAnswer DevicesAnswer(DeviceCentre& centre, const PollStatuses& polls, const HttpRequest& request);

/// The newest speed of the interface that the request names by `mac` and `interface`.
HttpAnswer InterfaceTrafficAnswer(const DeviceCentre& centre, const PluginCalls& plugin, const HttpRequest& request);

/// The periods for which there is a report. `zone`: the name of the time zone in which they are meant, for a header.
HttpAnswer PeriodsAnswer(const ReportCalls& report, const std::string& zone);

/// The report that the request names by `type` and `period`.
HttpAnswer ReportAnswer(const ReportCalls& report, const HttpRequest& request, const std::string& zone);

}  // namespace probe
