#pragma once

#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// The access points that the radios of the device of the argument `mac` hear, the strongest first; null in their place
/// when the device tells no such table. docs/openapi.yaml describes the answer.
HttpAnswer NeighboursAnswer(DeviceCentre& centre, const HttpRequest& request);

}  // namespace probe
