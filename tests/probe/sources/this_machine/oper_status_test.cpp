#include "probe/sources/this_machine/oper_status.h"

#include <gtest/gtest.h>
#include <linux/if.h>

namespace probe {
namespace {

struct Case {
  const char* name;
  int operstate;
  unsigned flags;
  std::int32_t rfc_2863;
};

class OperStatus : public ::testing::TestWithParam<Case> {};

TEST_P(OperStatus, IsNumberedAsInRfc2863) {
  EXPECT_EQ(OperStatusOf(static_cast<std::uint8_t>(GetParam().operstate), GetParam().flags), GetParam().rfc_2863);
}

INSTANTIATE_TEST_SUITE_P(
    KernelStates, OperStatus,
    ::testing::Values(Case{"Up", IF_OPER_UP, IFF_UP | IFF_LOWER_UP, 1}, Case{"UpByStateAlone", IF_OPER_UP, 0, 1},
                      Case{"Down", IF_OPER_DOWN, IFF_UP, 2}, Case{"Testing", IF_OPER_TESTING, IFF_UP, 3},
                      Case{"Dormant", IF_OPER_DORMANT, IFF_UP | IFF_LOWER_UP, 5},
                      Case{"NotPresent", IF_OPER_NOTPRESENT, 0, 6},
                      Case{"LowerLayerDown", IF_OPER_LOWERLAYERDOWN, IFF_UP, 7},
                      Case{"UnknownButWorking", IF_OPER_UNKNOWN, IFF_UP | IFF_LOWER_UP | IFF_LOOPBACK, 1},
                      Case{"UnknownAndWithoutLowerLayer", IF_OPER_UNKNOWN, IFF_UP, 4},
                      Case{"UnknownAndSwitchedOff", IF_OPER_UNKNOWN, IFF_LOWER_UP, 4},
                      Case{"Unnumbered", IF_OPER_UP + 1, 0, 4}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace probe
