#include "probe/sources/snmp/counter_widening.h"
#include "probe/sources/snmp/reading.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace probe::snmp {
namespace {

constexpr std::uint64_t kTurn = std::uint64_t{1} << 32;  // of a Counter32
constexpr std::uint64_t kMega = 1'000'000;
constexpr std::uint64_t kGiga = 1'000'000'000;

OctetCounter Narrow(std::uint64_t value) {
  return {.value = value, .is_64bit = false};
}

OctetCounter Wide(std::uint64_t value) {
  return {.value = value, .is_64bit = true};
}

/// One reading and what is expected of it. Readings without a time of their own are 30 s apart.
struct Step {
  OctetCounter counter;
  CounterStep step = CounterStep::kCounted;
  std::uint64_t value = 0;
  std::uint32_t device_starts = 0;
  std::optional<std::uint32_t> discontinuity = {};
  std::int64_t seconds = 30;
};

struct Case {
  std::string name;
  std::vector<Step> steps;
  std::optional<std::uint64_t> bits_per_second = 100 * kMega;
  bool restarts_alone = false;
};

void PrintTo(const Case& one, std::ostream* out) {
  *out << one.name;
}

class CounterCases : public ::testing::TestWithParam<Case> {};

TEST_P(CounterCases, AreWidenedByTheEvidence) {
  WidenedCounter widened;
  std::int64_t ticks = 170'000'000'000;
  for (std::size_t i = 0; i < GetParam().steps.size(); ++i) {
    const Step& step = GetParam().steps[i];
    ticks += step.seconds * 100;
    const CounterStep result = widened.Take({.counter = step.counter,
                                             .read_at = ticks,
                                             .device_starts = step.device_starts,
                                             .discontinuity_ticks = step.discontinuity,
                                             .bits_per_second = GetParam().bits_per_second,
                                             .restarts_alone = GetParam().restarts_alone});
    EXPECT_EQ(static_cast<int>(result), static_cast<int>(step.step)) << "reading " << i;
    EXPECT_EQ(widened.value(), step.value) << "reading " << i;
  }
}

using enum CounterStep;

// At 100 Mbit/s 30 s carry 456,250,000 octets: 36.5 s, for the device's clock and its cache have a tolerance.
const std::vector<Case> kCases{
    {"FirstWideReading", {{Wide(1000), kFirst, 1000}}},
    {"FirstNarrowReading", {{Narrow(kTurn - 1), kFirst, kTurn - 1}}},
    {"FirstReadingOfZero", {{Wide(0), kFirst, 0}, {Wide(10), kCounted, 10}}},
    {"WideGoesOn", {{Wide(1000), kFirst, 1000}, {Wide(5000), kCounted, 5000}, {Wide(5001), kCounted, 5001}}},
    {"StandsStill", {{Wide(1000), kFirst, 1000}, {Wide(1000), kCounted, 1000}}},
    {"NarrowGoesOn", {{Narrow(1000), kFirst, 1000}, {Narrow(5000), kCounted, 5000}}},

    {"NarrowWraps", {{Narrow(4'294'967'000), kFirst, 4'294'967'000}, {Narrow(704), kCounted, 4'294'968'000}}},
    {"NarrowWrapsByOne", {{Narrow(kTurn - 1), kFirst, kTurn - 1}, {Narrow(0), kCounted, kTurn}}},
    {"NarrowWrapsAgainAndAgain",
     {{Narrow(4'000'000'000), kFirst, 4'000'000'000},
      {Narrow(100'000'000), kCounted, kTurn + 100'000'000},
      {Narrow(500'000'000), kCounted, kTurn + 500'000'000},
      {Narrow(4'200'000'000), kCounted, kTurn + 4'200'000'000},
      {Narrow(50'000'000), kCounted, 2 * kTurn + 50'000'000}}},
    {"WrapThatJustFitsTheLink",
     {{Narrow(kTurn - 1'000'000), kFirst, kTurn - 1'000'000}, {Narrow(35'500'000), kCounted, kTurn + 35'500'000}},
     8 * kMega},
    {"WrapThatDoesNotFitTheLink",
     {{Narrow(kTurn - 1'000'000), kFirst, kTurn - 1'000'000}, {Narrow(35'500'001), kGap, kTurn - 1'000'000}},
     8 * kMega},
    {"WrapOfALinkWithoutSpeed",
     {{Narrow(kTurn - 1), kFirst, kTurn - 1}, {Narrow(3'000'000'000), kCounted, kTurn + 3'000'000'000}},
     std::nullopt},
    {"WrapThatNoOrdinaryLinkCarries",  // 15.5 s at 1 Gbit/s are 1,937,500,000 octets
     {{Narrow(kTurn - 1), kFirst, kTurn - 1}, {Narrow(1'937'500'000), kGap, kTurn - 1, 0, {}, 10}},
     std::nullopt},
    {"WrapOfALinkOfSpeedZero", {{Narrow(kTurn - 9), kFirst, kTurn - 9}, {Narrow(9), kGap, kTurn - 9}}, 0},
    {"WrapDuringALongSilence",
     {{Narrow(4'000'000'000), kFirst, 4'000'000'000},
      {Narrow(3'900'000'000), kCounted, kTurn + 3'900'000'000, 0, {}, 3600}},
     10 * kMega},
    {"SeveralWrapsDuringASilenceCountAsOne",
     {{Narrow(1000), kFirst, 1000}, {Narrow(900), kGap, 1000, 0, {}, 86'400}, {Narrow(1100), kCounted, 1100}},
     10 * kGiga},

    {"NarrowSlipsBackOnAFastLink",
     {{Narrow(3'000'000'000), kFirst, 3'000'000'000},
      {Narrow(2'999'999'500), kGap, 3'000'000'000},
      {Narrow(3'000'000'100), kCounted, 3'000'000'100}},
     10 * kGiga},
    {"LargestSlip",
     {{Narrow(3'000'000'000), kFirst, 3'000'000'000}, {Narrow(3'000'000'000 - 16'777'215), kGap, 3'000'000'000}},
     10 * kGiga},
    {"NarrowSlipsBackThroughTheWrap",
     {{Narrow(100), kFirst, 100}, {Narrow(kTurn - 400), kGap, 100}, {Narrow(200), kCounted, 200}},
     10 * kGiga},
    {"SmallestWrap",
     {{Narrow(3'000'000'000), kFirst, 3'000'000'000},
      {Narrow(3'000'000'000 - 16'777'216), kCounted, kTurn + 3'000'000'000 - 16'777'216}},
     10 * kGiga},
    {"WideSlipsBack",
     {{Wide(1'000'000'000'000), kFirst, 1'000'000'000'000}, {Wide(999'999'999'500), kGap, 1'000'000'000'000}}},
    {"WideSlipsBackByOne", {{Wide(1000), kFirst, 1000}, {Wide(999), kGap, 1000}}},
    {"CountsFromTheOldReadingAfterASlip",
     {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(999'500), kGap, 1'000'000}, {Wide(1'003'000), kCounted, 1'003'000}}},
    {"SecondReadingAfterASlipIsTheNewStart",
     {{Wide(1'000'000), kFirst, 1'000'000},
      {Wide(999'500), kGap, 1'000'000},
      {Wide(999'600), kGap, 1'000'000},
      {Wide(1'000'600), kCounted, 1'001'000}}},
    {"SlipsBackAgainAndAgain",
     {{Wide(1000), kFirst, 1000},
      {Wide(900), kGap, 1000},
      {Wide(800), kGap, 1000},
      {Wide(850), kGap, 1000},
      {Wide(860), kCounted, 1010}}},
    {"NarrowSlipsBackOnASlowLink",
     {{Narrow(1'000'000), kFirst, 1'000'000},
      {Narrow(999'000), kGap, 1'000'000},
      {Narrow(1'001'000), kCounted, 1'001'000}}},
    {"WideWraps", {{Wide(UINT64_MAX - 9), kFirst, UINT64_MAX - 9}, {Wide(10), kCounted, 10}}},

    {"RestartWithoutEvidence",
     {{Wide(1'000'000'000'000), kFirst, 1'000'000'000'000},
      {Wide(5000), kGap, 1'000'000'000'000},
      {Wide(6000), kGap, 1'000'000'000'000},
      {Wide(7500), kCounted, 1'000'000'001'500}}},
    {"Restart",
     {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(5000), kRestarted, 5000, 1}, {Wide(6000), kCounted, 6000, 1}}},
    {"RestartAtZero", {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(0), kRestarted, 0, 1}, {Wide(0), kCounted, 0, 1}}},
    {"RestartOfANarrowCounterIsNoWrap",
     {{Narrow(4'294'000'000), kFirst, 4'294'000'000}, {Narrow(5000), kRestarted, 5000, 1}}},
    {"RestartOfTheAgentAlone", {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(1'002'000), kCounted, 1'002'000, 1}}},
    {"RestartOfTheAgentAfterAWrap",
     {{Narrow(4'294'967'000), kFirst, 4'294'967'000},
      {Narrow(704), kCounted, kTurn + 704},
      {Narrow(1704), kCounted, kTurn + 1704, 1}}},
    {"RestartAfterAWrap",
     {{Narrow(4'294'967'000), kFirst, 4'294'967'000},
      {Narrow(704), kCounted, kTurn + 704},
      {Narrow(300), kRestarted, 300, 1}}},
    {"RestartAndASlipThatIsNoRestart",
     {{Wide(1'000'000'000'000), kFirst, 1'000'000'000'000},
      {Wide(999'999'999'500), kGap, 1'000'000'000'000, 1},
      {Wide(1'000'000'000'000), kCounted, 1'000'000'000'500, 1}}},
    {"RestartWithMoreThanTheLinkCarries",
     {{Wide(1000), kFirst, 1000}, {Wide(457'000'000), kGap, 1000, 1}, {Wide(457'000'100), kCounted, 1100, 1}}},
    {"RestartIsEvidenceOnlyOnce",
     {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(5000), kRestarted, 5000, 1}, {Wide(4000), kGap, 5000, 1}}},

    {"DiscontinuityChanges", {{Wide(1'000'000), kFirst, 1'000'000, 0, 100}, {Wide(5000), kRestarted, 5000, 0, 9'000}}},
    {"DiscontinuityGoesBack", {{Wide(1'000'000), kFirst, 1'000'000, 0, 9'000}, {Wide(5000), kRestarted, 5000, 0, 0}}},
    {"DiscontinuityStays", {{Wide(1'000'000), kFirst, 1'000'000, 0, 100}, {Wide(5000), kGap, 1'000'000, 0, 100}}},
    {"DiscontinuityChangesButTheCounterGoesOn",
     {{Wide(1'000'000), kFirst, 1'000'000, 0, 100}, {Wide(1'000'500), kCounted, 1'000'500, 0, 9'000}}},
    {"DiscontinuityIsMissingOnce",
     {{Wide(1'000'000), kFirst, 1'000'000, 0, 100},
      {Wide(1'000'100), kCounted, 1'000'100},
      {Wide(5000), kGap, 1'000'100, 0, 100}}},
    {"DiscontinuityChangesWhileItIsMissing",
     {{Wide(1'000'000), kFirst, 1'000'000, 0, 100},
      {Wide(1'000'100), kCounted, 1'000'100},
      {Wide(5000), kRestarted, 5000, 0, 9'000}}},
    {"DiscontinuityAppears", {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(5000), kGap, 1'000'000, 0, 100}}},

    {"BecomesWide",
     {{Narrow(1000), kFirst, 1000},
      {Wide(3 * kTurn + 1500), kCounted, 1500},
      {Wide(3 * kTurn + 1600), kCounted, 1600}}},
    {"BecomesWideWithoutMoving", {{Narrow(1000), kFirst, 1000}, {Wide(3 * kTurn + 1000), kCounted, 1000}}},
    {"BecomesWideAfterAWrap", {{Narrow(kTurn - 100), kFirst, kTurn - 100}, {Wide(kTurn + 50), kCounted, kTurn + 50}}},
    {"BecomesAnotherWideCounter",
     {{Narrow(3'000'000'000), kFirst, 3'000'000'000},
      {Wide(1000), kGap, 3'000'000'000},
      {Wide(1500), kGap, 3'000'000'000},
      {Wide(1700), kCounted, 3'000'000'200}}},
    {"BecomesNarrow", {{Wide(3 * kTurn + 1000), kFirst, 3 * kTurn + 1000}, {Narrow(1500), kCounted, 3 * kTurn + 1500}}},
    {"BecomesWideAtARestart", {{Narrow(1'000'000), kFirst, 1'000'000}, {Wide(700), kCounted, 1'000'700, 1}}},

    {"LeapsForwardAndBack",
     {{Wide(1'000'000), kFirst, 1'000'000},
      {Wide(1'000'000'000'000'000), kGap, 1'000'000},
      {Wide(1'100'000), kCounted, 1'100'000}}},
    {"FasterThanAVirtualLinkSays",
     {{Wide(1000), kFirst, 1000}, {Wide(3'000'001'000), kCounted, 3'000'001'000}},
     10 * kMega},
    {"AsFastAsAVeryFastLinkSays",
     {{Wide(0), kFirst, 0}, {Wide(6'000'000'000'000), kCounted, 6'000'000'000'000}},
     1'600 * kGiga},

    {"ClientComesBack", {{Wide(1'000'000), kFirst, 1'000'000}, {Wide(5000), kRestarted, 5000}}, 54 * kMega, true},
    {"NarrowClientComesBack",
     {{Narrow(4'294'000'000), kFirst, 4'294'000'000}, {Narrow(5000), kRestarted, 5000}},
     54 * kMega,
     true},
    {"ClientSlipsBack",
     {{Wide(1'000'000'000'000), kFirst, 1'000'000'000'000},
      {Wide(999'999'999'500), kGap, 1'000'000'000'000},
      {Wide(999'999'999'900), kCounted, 1'000'000'000'400}},
     54 * kMega,
     true},
};

INSTANTIATE_TEST_SUITE_P(CounterWidening, CounterCases, ::testing::ValuesIn(kCases),
                         [](const auto& one) { return one.param.name; });

/// What a probe that was started anew makes of the counter.
struct ContinuedCase {
  std::string name;
  std::uint64_t earlier = 0;
  std::vector<Step> steps;  ///< The first one a minute after the last reading of the earlier run.
  std::size_t known = 0;    ///< Readings that were taken before the earlier value was known.
};

void PrintTo(const ContinuedCase& one, std::ostream* out) {
  *out << one.name;
}

class ContinuedCounters : public ::testing::TestWithParam<ContinuedCase> {};

TEST_P(ContinuedCounters, GoOnFromAnEarlierRun) {
  WidenedCounter widened;
  constexpr std::int64_t kEarlierTicks = 170'000'000'000;
  constexpr std::uint32_t kEarlierStarts = 0;
  std::int64_t ticks = kEarlierTicks + 3000;
  for (std::size_t i = 0; i < GetParam().steps.size(); ++i) {
    const Step& step = GetParam().steps[i];
    if (i == 0 && GetParam().known == 0) widened.ContinueFrom(GetParam().earlier, kEarlierTicks, kEarlierStarts);
    ticks += step.seconds * 100;
    CounterStep result = widened.Take({.counter = step.counter,
                                       .read_at = ticks,
                                       .device_starts = step.device_starts,
                                       .discontinuity_ticks = step.discontinuity,
                                       .bits_per_second = 100 * kMega,
                                       .restarts_alone = false});
    if (i + 1 == GetParam().known) {
      result = widened.ContinueFrom(GetParam().earlier, kEarlierTicks, kEarlierStarts);
    }
    if (i + 1 < GetParam().known) continue;
    EXPECT_EQ(static_cast<int>(result), static_cast<int>(step.step)) << "reading " << i;
    EXPECT_EQ(widened.value(), step.value) << "reading " << i;
  }
}

// At 100 Mbit/s a minute carries 850,000,000 octets.
const std::vector<ContinuedCase> kContinuedCases{
    {"NarrowThatHasWrappedBefore", 3 * kTurn + 1000, {{Narrow(5000), kCounted, 3 * kTurn + 5000}}},
    {"NarrowThatWrapsMeanwhile", 3 * kTurn - 296, {{Narrow(704), kCounted, 3 * kTurn + 704}}},
    {"NarrowThatStandsStill", 3 * kTurn + 1000, {{Narrow(1000), kCounted, 3 * kTurn + 1000}}},
    {"NarrowThatWasReadAlready",
     3 * kTurn + 1000,
     {{Narrow(5000)}, {Narrow(6000), kCounted, 3 * kTurn + 6000}, {Narrow(7000), kCounted, 3 * kTurn + 7000}},
     2},
    {"WideGoesOn", 5 * kTurn, {{Wide(5 * kTurn + 7), kCounted, 5 * kTurn + 7}}},
    {"NarrowOfARestartedDevice",
     3 * kTurn + 4'000'000'000,
     {{Narrow(1000), kRestarted, 1000, 1}, {Narrow(1500), kCounted, 1500, 1}}},
    {"WideOfARestartedDevice", 5 * kTurn, {{Wide(9000), kRestarted, 9000, 1}}},
    {"RestartedDeviceThatWasReadAlready",
     5 * kTurn,
     {{Wide(9000), kRestarted, 9000, 1}, {Wide(9001), kCounted, 9001, 1}},
     1},
    // No evidence of a restart, and too far for a wrap: a gap, after which it is counted on.
    {"WideThatFellBehindAGap",
     5 * kTurn,
     {{Wide(kTurn), kGap, 5 * kTurn}, {Wide(kTurn + 9), kGap, 5 * kTurn}, {Wide(kTurn + 12), kCounted, 5 * kTurn + 3}}},
    {"NarrowThatBecameWide", 3 * kTurn + 1000, {{Wide(3 * kTurn + 4000), kCounted, 3 * kTurn + 4000}}}};

INSTANTIATE_TEST_SUITE_P(Cases, ContinuedCounters, ::testing::ValuesIn(kContinuedCases),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace probe::snmp
