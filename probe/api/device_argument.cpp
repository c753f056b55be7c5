#include "probe/api/device_argument.h"

#include <algorithm>
#include <cctype>

#include "platform/utilities/text.h"

namespace probe {
namespace {

/// Whether a text is a MAC as `format_macaddress` writes it.
bool IsMac(const std::string& text) {
  constexpr std::size_t kOctets = 6;
  if (text.size() != 3 * kOctets - 1) return false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool is_separator = at % 3 == 2;
    if (is_separator ? text[at] != ':' : std::isxdigit(static_cast<unsigned char>(text[at])) == 0) return false;
  }
  return true;
}

}  // namespace

std::optional<std::string> Argument(const HttpRequest& request, const char* name) {
  const auto found = request.arguments.find(name);
  if (found == request.arguments.end() || found->second.empty()) return std::nullopt;
  return found->second;
}

DeviceArgument DeviceOf(const DeviceCentre& centre, const HttpRequest& request) {
  DeviceArgument device;
  const auto mac = Argument(request, "mac");
  if (!mac) return device;
  for (const std::string& id : {*mac, format_macaddress(*mac)}) {
    device.mac = id;
    device.snapshot = centre.Snapshot(id);
    if (device.snapshot != nullptr) return device;
  }
  device.error = IsMac(device.mac)
                     ? ErrorAnswer(404, "unknown_device",
                                   "No device has this \"mac\"; /api/v1/devices lists those that there are.")
                     : ErrorAnswer(400, "invalid_mac",
                                   "\"mac\" must be the address of a device, twelve hex digits: AA:BB:CC:00:11:22.");
  return device;
}

DeviceArgument RequiredDeviceOf(const DeviceCentre& centre, const HttpRequest& request) {
  DeviceArgument device = DeviceOf(centre, request);
  if (!device.error && device.snapshot == nullptr)
    device.error = ErrorAnswer(400, "missing_argument", R"(The query must name a device by "mac".)");
  return device;
}

}  // namespace probe
