#pragma once

#include <string>

#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// A JSON text as an answer. `caching` other than `kNoStore` gives it an ETag.
HttpAnswer JsonAnswer(std::string text, Caching caching);

/// The devices that the centre knows, in its order.
HttpAnswer DevicesAnswer(DeviceCentre& centre);

/// The newest speed of the interface that the request names by `mac` and `interface`.
HttpAnswer InterfaceTrafficAnswer(const PluginCalls& plugin, const HttpRequest& request);

/// The periods for which there is a report.
HttpAnswer PeriodsAnswer(const ReportCalls& report);

/// The report that the request names by `type` and `period`.
HttpAnswer ReportAnswer(const ReportCalls& report, const HttpRequest& request);

}  // namespace probe
