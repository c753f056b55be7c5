#pragma once

#include <memory>
#include <optional>
#include <string>

#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// An argument of the query; nothing when it is missing or empty.
std::optional<std::string> Argument(const HttpRequest& request, const char* name);

/// The device that a request names by `mac`.
struct DeviceArgument {
  std::string mac;                                 ///< Its id; empty when the request names none.
  std::shared_ptr<const DeviceSnapshot> snapshot;  ///< Null likewise.
  std::optional<HttpAnswer> error;                 ///< The answer, when there is no such device.
};

/// Looks the device up that a request names. Its MAC may be written in any notation.
DeviceArgument DeviceOf(const DeviceCentre& centre, const HttpRequest& request);

/// The same where a device has to be named.
DeviceArgument RequiredDeviceOf(const DeviceCentre& centre, const HttpRequest& request);

}  // namespace probe
