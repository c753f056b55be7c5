#include "probe/sources/this_machine/oper_status.h"

#include <linux/if.h>

#include "platform/device_records.h"

namespace probe {
namespace {

// RFC 2863, ifOperStatus, beside kOperStatusUp
constexpr std::int32_t kDown = 2;
constexpr std::int32_t kTesting = 3;
constexpr std::int32_t kUnknown = 4;
constexpr std::int32_t kDormant = 5;
constexpr std::int32_t kNotPresent = 6;
constexpr std::int32_t kLowerLayerDown = 7;

}  // namespace

std::int32_t OperStatusOf(std::uint8_t operstate, unsigned flags) {
  constexpr unsigned kWorking = IFF_UP | IFF_LOWER_UP;
  switch (operstate) {
    case IF_OPER_UP:
      return vexora_probe::models::controller::kOperStatusUp;
    case IF_OPER_DOWN:
      return kDown;
    case IF_OPER_TESTING:
      return kTesting;
    case IF_OPER_DORMANT:
      return kDormant;
    case IF_OPER_NOTPRESENT:
      return kNotPresent;
    case IF_OPER_LOWERLAYERDOWN:
      return kLowerLayerDown;
    default:  // IF_OPER_UNKNOWN, for ever with drivers that keep no operational state
      return (flags & kWorking) == kWorking ? vexora_probe::models::controller::kOperStatusUp : kUnknown;
  }
}

}  // namespace probe
