#pragma once

#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"

namespace probe {

// What the host itself knows of devices, as docs/openapi.yaml describes it. All of them take the device of the
// argument `mac`; those of a single device need it.

/// The notifications that are open, and the newest of those that hold no longer.
HttpAnswer NotificationsAnswer(DeviceCentre& centre, const HttpRequest& request);

/// The wireless clients who are at devices that are online now, each once.
HttpAnswer ClientsAnswer(DeviceCentre& centre, const HttpRequest& request);

/// The radios of a device and the SSIDs that they carry.
HttpAnswer RadiosAnswer(DeviceCentre& centre, const HttpRequest& request);

/// The interfaces of a device, those included that are down or idle, or the one of the argument `interface`.
HttpAnswer PortsAnswer(DeviceCentre& centre, const PluginCalls& plugin, const HttpRequest& request);

}  // namespace probe
