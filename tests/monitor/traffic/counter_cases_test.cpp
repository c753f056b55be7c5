// The speed of an interface for every way in which its counters and its device's clock may move. What is looked at is
// what `GetInterfaceTraffic` gives after each pass; the table's speeds were worked out by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "tests/monitor/traffic/traffic_fixture.h"

namespace {

using test::kStart;
using test::kSwitch;
using test::Octets;
using test::Sample;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kTwoTo32 = std::uint64_t{1} << 32U;
constexpr std::uint64_t kTwoTo63 = std::uint64_t{1} << 63U;
constexpr time_t kEarliestTime = std::numeric_limits<time_t>::min();
constexpr time_t kLatestTime = std::numeric_limits<time_t>::max();
constexpr time_t kT = kStart + 60;  // the time of the first pass

/// What a device answers in one pass.
struct Answer {
  enum class Kind : std::uint8_t {
    kDated,    ///< Counters, and when they were read by the device's clock.
    kUndated,  ///< Counters alone: they count as read in this moment.
    kWithout,  ///< The device answers, but has no such interface.
    kNothing,  ///< The device is offline.
  };
  Kind kind;
  time_t sampled_at = 0;
  Octets octets = {};
  int seconds = 60;  ///< From the pass before to this one.
};

Answer Read(time_t sampled_at, std::uint64_t in, std::uint64_t out) {
  return {.kind = Answer::Kind::kDated, .sampled_at = sampled_at, .octets = {in, out}};
}

Answer Undated(std::uint64_t in, std::uint64_t out) {
  return {.kind = Answer::Kind::kUndated, .octets = {in, out}};
}

const Answer kWithoutIt{.kind = Answer::Kind::kWithout};
const Answer kSilence{.kind = Answer::Kind::kNothing};

/// The same answer in a pass before which the host's clock was set back by an hour.
Answer AnHourBack(Answer answer) {
  answer.seconds = -3'600;
  return answer;
}

/// Input and output speed; nothing while the first change is waited for.
using NewestSpeed = std::optional<std::pair<std::uint64_t, std::uint64_t>>;

NewestSpeed Bps(std::uint64_t in, std::uint64_t out) {
  return std::pair{in, out};
}

const NewestSpeed kZero = Bps(0, 0);
const NewestSpeed kWaits = std::nullopt;

/// One row of the table: what the device answers pass by pass, and the newest speed after each.
struct CounterCase {
  const char* name;
  std::vector<Answer> answers;
  std::vector<NewestSpeed> speeds;

  friend std::ostream& operator<<(std::ostream& out, const CounterCase& counter_case) {
    return out << counter_case.name;
  }
};

const CounterCase kCounterCases[] = {
    {"FirstReading", {Read(kT, 1'000, 100)}, {kZero}},
    {"FirstReadingAtTheLargest", {Read(kT, kLargest, kLargest)}, {kZero}},
    {"SteadyTraffic", {Read(kT, 0, 0), Read(kT + 60, 6'000, 600)}, {kZero, Bps(100, 10)}},
    {"RoundsDown", {Read(kT, 0, 0), Read(kT + 60, 119, 59)}, {kZero, Bps(1, 0)}},
    {"RoundsDownOneBelow", {Read(kT, 0, 0), Read(kT + 60, 5'999, 599)}, {kZero, Bps(99, 9)}},
    {"OverOneSecond", {Read(kT, 0, 0), Read(kT + 1, 6'000, 600)}, {kZero, Bps(6'000, 600)}},
    {"OverTwoMinutes", {Read(kT, 0, 0), Read(kT + 120, 12'000, 1'200)}, {kZero, Bps(100, 10)}},
    {"OverADay", {Read(kT, 0, 0), Read(kT + 86'400, 8'640'000, 864'000)}, {kZero, Bps(100, 10)}},
    {"OnlyIn", {Read(kT, 0, 0), Read(kT + 60, 6'000, 0)}, {kZero, Bps(100, 0)}},
    {"OnlyOut", {Read(kT, 0, 0), Read(kT + 60, 0, 600)}, {kZero, Bps(0, 10)}},
    {"StandsStill", {Read(kT, 6'000, 600), Read(kT + 60, 6'000, 600)}, {kZero, kZero}},
    {"IsAndStaysZero", {Read(kT, 0, 0), Read(kT + 60, 0, 0), Read(kT + 120, 6'000, 600)}, {kZero, kZero, Bps(100, 10)}},
    {"MovesAfterStandingStill",
     {Read(kT, 5'000, 500), Read(kT + 60, 5'000, 500), Read(kT + 120, 11'000, 1'100)},
     {kZero, kZero, Bps(100, 10)}},
    {"OneOctetASecond", {Read(kT, 5'000, 500), Read(kT + 60, 5'060, 500)}, {kZero, Bps(1, 0)}},
    {"LessThanOneASecond", {Read(kT, 5'000, 500), Read(kT + 60, 5'059, 559)}, {kZero, kZero}},
    // A counter that goes back has restarted, and counts from 0.
    {"InRestarts", {Read(kT, 5'000'000, 600), Read(kT + 60, 1'000, 1'200)}, {kZero, Bps(16, 10)}},
    {"OutRestarts", {Read(kT, 0, 5'000'000), Read(kT + 60, 6'000, 1'000)}, {kZero, Bps(100, 16)}},
    {"BothRestartAtZero", {Read(kT, 6'000, 600), Read(kT + 60, 0, 0)}, {kZero, kZero}},
    {"BothRestart", {Read(kT, 9'000'000, 9'000'000), Read(kT + 60, 6'000, 600)}, {kZero, Bps(100, 10)}},
    {"SlipsByOne", {Read(kT, 6'001, 601), Read(kT + 60, 6'000, 600)}, {kZero, Bps(100, 10)}},
    {"SlipsByAMinute", {Read(kT, 1'000'000, 100), Read(kT + 60, 999'940, 100)}, {kZero, Bps(16'665, 0)}},
    {"GoesOnAfterARestart",
     {Read(kT, 6'000'000, 0), Read(kT + 60, 600, 0), Read(kT + 120, 6'600, 0)},
     {kZero, Bps(10, 0), Bps(100, 0)}},
    {"RestartsTwice",
     {Read(kT, 9'000'000, 0), Read(kT + 60, 6'000, 0), Read(kT + 120, 600, 0)},
     {kZero, Bps(100, 0), Bps(10, 0)}},
    // A 32-bit counter that wraps looks like one that restarts.
    {"WrapsAt32Bits", {Read(kT, kTwoTo32 - 1, 0), Read(kT + 60, 5'999, 0)}, {kZero, Bps(99, 0)}},
    {"BothWrapAt32Bits", {Read(kT, kTwoTo32 - 296, kTwoTo32 - 296), Read(kT + 60, 304, 6'000)}, {kZero, Bps(5, 100)}},
    {"Crosses32Bits",
     {Read(kT, kTwoTo32 - 3'000, kTwoTo32 - 300), Read(kT + 60, kTwoTo32 + 3'000, kTwoTo32 + 300)},
     {kZero, Bps(100, 10)}},
    {"Crosses63Bits",
     {Read(kT, kTwoTo63 - 3'000, kTwoTo63 - 300), Read(kT + 60, kTwoTo63 + 3'000, kTwoTo63 + 300)},
     {kZero, Bps(100, 10)}},
    {"WrapsAt64Bits", {Read(kT, kLargest, 0), Read(kT + 60, 5'999, 0)}, {kZero, Bps(99, 0)}},
    {"WrapsAt64BitsToZero", {Read(kT, kLargest, kLargest), Read(kT + 60, 0, 0)}, {kZero, kZero}},
    {"FromZeroToTheLargest",
     {Read(kT, 0, 0), Read(kT + 60, kLargest, kLargest)},
     {kZero, Bps(307'445'734'561'825'860, 307'445'734'561'825'860)}},
    {"FromZeroToTheLargestInASecond",
     {Read(kT, 0, 0), Read(kT + 1, kLargest, kLargest)},
     {kZero, Bps(kLargest, kLargest)}},
    {"UpToTheLargest",
     {Read(kT, kLargest - 6'000, kLargest - 600), Read(kT + 60, kLargest, kLargest)},
     {kZero, Bps(100, 10)}},
    {"StandsAtTheLargest", {Read(kT, kLargest, kLargest), Read(kT + 60, kLargest, kLargest)}, {kZero, kZero}},
    // An equal time of the device is the same reading.
    {"SameReadingTwice",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 60, 6'000, 600)},
     {kZero, Bps(100, 10), Bps(100, 10)}},
    {"SameTimeWithOtherCounters",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 60, 12'000, 1'200), Read(kT + 120, 24'000, 2'400)},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(200, 20)}},
    {"SameTimeAsTheFirst", {Read(kT, 0, 0), Read(kT, 6'000, 600)}, {kZero, kZero}},
    {"SameReadingForThreePasses",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 60, 6'000, 600), Read(kT + 60, 6'000, 600)},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(100, 10)}},
    {"SameTimeAfterARestart",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 60, 60, 6), Read(kT + 120, 12'060, 1'206)},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(200, 20)}},
    {"NewReadingEverySecondPass",
     {Read(kT, 0, 0), Read(kT, 0, 0), Read(kT + 120, 12'000, 1'200), Read(kT + 120, 12'000, 1'200)},
     {kZero, kZero, Bps(100, 10), Bps(100, 10)}},
    // A device's clock may be set.
    {"TimeBackByASecond",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 59, 12'000, 1'200)},
     {kZero, Bps(100, 10), kZero}},
    {"TimeGoesOnAfterItWentBack",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 59, 12'000, 1'200), Read(kT + 119, 18'000, 1'800)},
     {kZero, Bps(100, 10), kZero, Bps(100, 10)}},
    {"TimeBackByAnHour",
     {Read(kT, 0, 0), Read(kT - 3'600, 6'000, 600), Read(kT - 3'540, 12'000, 1'200)},
     {kZero, kZero, Bps(100, 10)}},
    {"TimeBackAndARestart",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), Read(kT + 30, 60, 6), Read(kT + 90, 6'060, 606)},
     {kZero, Bps(100, 10), kZero, Bps(100, 10)}},
    {"TimeAheadByAYear", {Read(kT, 0, 0), Read(kT + 31'536'000, 63'072'000, 31'536'000)}, {kZero, Bps(2, 1)}},
    {"TimeAheadByADayAndBack",
     {Read(kT, 0, 0), Read(kT + 86'400, 8'640'000, 0), Read(kT + 60, 8'646'000, 0), Read(kT + 120, 8'652'000, 0)},
     {kZero, Bps(100, 0), kZero, Bps(100, 0)}},
    {"TimeSetFromTheEpoch",
     {Read(0, 0, 0), Read(kStart, std::uint64_t{3} * kStart, std::uint64_t{2} * kStart)},
     {kZero, Bps(3, 2)}},
    {"TimeStuckAtTheEpoch", {Read(0, 0, 0), Read(0, 6'000, 600), Read(0, 12'000, 1'200)}, {kZero, kZero, kZero}},
    {"TimesBeforeTheEpoch", {Read(-120, 0, 0), Read(-60, 6'000, 600)}, {kZero, Bps(100, 10)}},
    {"TimesAcrossTheEpoch", {Read(-30, 0, 0), Read(30, 6'000, 600)}, {kZero, Bps(100, 10)}},
    // Of 64 bits, the difference is more than a time can count.
    {"FromTheEarliestTimeToTheLatest",
     {Read(kEarliestTime, 0, 0), Read(kLatestTime, 7 * (kTwoTo32 - 1), kTwoTo32 - 2)},
     {kZero, sizeof(time_t) == 8 ? kZero : Bps(7, 0)}},
    {"FromTheLatestTimeToTheEarliest", {Read(kLatestTime, 0, 0), Read(kEarliestTime, 6'000, 600)}, {kZero, kZero}},
    {"UpToTheLatestTime", {Read(kLatestTime - 60, 0, 0), Read(kLatestTime, 6'000, 600)}, {kZero, Bps(100, 10)}},
    // Without a time of its own a reading is as new as the question.
    {"Undated", {Undated(0, 0), Undated(6'000, 600)}, {kZero, Bps(100, 10)}},
    {"UndatedAfterDated", {Read(kT, 0, 0), Undated(6'000, 600)}, {kZero, Bps(100, 10)}},
    {"DatedAsTheUndatedBefore", {Undated(0, 0), Read(kT, 6'000, 600)}, {kZero, kZero}},
    {"DatedBeforeTheUndatedBefore", {Undated(0, 0), Read(kT - 1, 6'000, 600)}, {kZero, kZero}},
    // Gaps of an interface are zeroes, those of a device repeat the newest speed.
    {"Vanishes", {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kWithoutIt}, {kZero, Bps(100, 10), kZero}},
    {"ComesBack",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kWithoutIt, Read(kT + 180, 60'000, 6'000),
      Read(kT + 240, 66'000, 6'600)},
     {kZero, Bps(100, 10), kZero, kZero, Bps(100, 10)}},
    {"ComesBackRestarted",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kWithoutIt, Read(kT + 180, 60, 6), Read(kT + 240, 6'060, 606)},
     {kZero, Bps(100, 10), kZero, kZero, Bps(100, 10)}},
    {"GoesOffline",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kSilence, kSilence},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(100, 10)}},
    {"ComesOnline",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kSilence, Read(kT + 180, 30'000, 3'000)},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(200, 20)}},
    {"ComesOnlineRestarted",
     {Read(kT, 0, 0), Read(kT + 60, 6'000, 600), kSilence, Read(kT + 180, 1'200, 120)},
     {kZero, Bps(100, 10), Bps(100, 10), Bps(10, 1)}},
    {"GoesOfflineAfterTheFirstReading",
     {Read(kT, 0, 0), kSilence, Read(kT + 120, 12'000, 1'200)},
     {kZero, kZero, Bps(100, 10)}},
    {"IsOfflineAtFirst", {kSilence, Read(kT + 60, 6'000, 600)}, {kWaits, kZero}},
    // A clock of the host that was set back empties the history, and the first change is waited for.
    {"WaitsForTheFirstChange",
     {Read(kT, 5'000, 500), AnHourBack(Read(kT + 60, 5'000, 500)), Read(kT + 120, 5'000, 500),
      Read(kT + 180, 11'000, 1'100)},
     {kZero, kWaits, kWaits, Bps(100, 10)}},
    {"DoesNotWaitForZeroes",
     {Read(kT, 0, 0), AnHourBack(Read(kT + 60, 0, 0)), Read(kT + 120, 6'000, 600)},
     {kZero, kZero, Bps(100, 10)}},
    {"DoesNotWaitForCountersThatMove",
     {Read(kT, 5'000, 500), AnHourBack(Read(kT + 60, 11'000, 500))},
     {kZero, Bps(100, 0)}},
    {"WaitsWithAnOldTime",
     {Read(kT, 5'000, 500), AnHourBack(Read(kT, 5'000, 500)), Read(kT, 6'000, 500)},
     {kZero, kWaits, kZero}},
};

/// A traffic monitor over one switch, of whose two ports one has the counters and the other stands still.
class TrafficCounters : public test::TrafficMonitorTest {
 protected:
  TrafficCounters() { probe::log::SetLevel(probe::log::Level::kError); }  // each restart is a line
  ~TrafficCounters() override { probe::log::SetLevel(probe::log::Level::kInfo); }

  /// One pass in which the device answers like this.
  void PassWith(const Answer& answer) {
    clock.Set(clock.Now().tv_sec + answer.seconds);
    auto device = network.Switch(kSwitch).Port("ge2", {1, 1});
    device.Online(answer.kind != Answer::Kind::kNothing);
    switch (answer.kind) {
      case Answer::Kind::kDated:
        device.Port("ge1", answer.octets).SampledAt(answer.sampled_at);
        break;
      case Answer::Kind::kUndated:
        device.Port("ge1", answer.octets).SampledAt(clock.Now().tv_sec);
        break;
      case Answer::Kind::kWithout:
        device.WithoutPort("ge1").SampledAt(clock.Now().tv_sec);
        break;
      case Answer::Kind::kNothing:
        break;
    }
    Pass(0);
  }

  NewestSpeed Speed() {
    const auto newest = Newest(kSwitch, "ge1");
    if (newest.empty()) return std::nullopt;
    return Bps(newest.at("input"), newest.at("output"));
  }
};

class TrafficCounterCases : public TrafficCounters, public ::testing::WithParamInterface<CounterCase> {};

TEST_P(TrafficCounterCases, GiveTheSpeeds) {
  ASSERT_EQ(GetParam().answers.size(), GetParam().speeds.size());
  std::vector<NewestSpeed> speeds;
  for (const Answer& answer : GetParam().answers) {
    PassWith(answer);
    speeds.push_back(Speed());
  }
  EXPECT_EQ(speeds, GetParam().speeds);
}

INSTANTIATE_TEST_SUITE_P(Table, TrafficCounterCases, ::testing::ValuesIn(kCounterCases),
                         [](const auto& test) { return test.param.name; });

TEST_F(TrafficCounters, CountAsReadInThisMomentWithoutATime) {
  for (const std::uint64_t octets : {0U, 6'000U, 12'000U}) {
    probe::DeviceSnapshot undated;
    undated.interfaces["ge1"] = std::make_shared<vexora_probe::models::controller::InterfaceState>(
        vexora_probe::models::controller::InterfaceState{
            .traffic = std::make_shared<vexora_probe::models::controller::TrafficStats>(
                vexora_probe::models::controller::TrafficStats{.in_bytes = octets})});
    probe::DeviceCentre::Instance().Replace(kSwitch, undated);
    Pass();
    EXPECT_EQ(Speed(), octets == 0 ? kZero : Bps(100, 0));
  }
}

/// The rules for one interface, step by step over plain lists.
class PlainInterface {
 public:
  void Pass(time_t now, const Answer& answer) {
    if (answer.kind == Answer::Kind::kWithout || answer.kind == Answer::Kind::kDated) sample_time_ = answer.sampled_at;
    if (answer.kind == Answer::Kind::kWithout) latest_.reset();
    if (answer.kind == Answer::Kind::kDated) latest_ = answer.octets;
    DropFuture(now);
    if (!latest_ && has_list_) AppendWithin30({now, 0, 0});
    if (latest_ && !last_) {
      samples_.push_back({now, 0, 0});  // of a first sight, whatever the length
      has_list_ = true;
    }
    if (latest_ && last_) Measure(now);
    DropFuture(now);  // once more before the samples are averaged: the cap may have laid bare one of the future
    last_ = latest_;
    last_sample_time_ = sample_time_;
  }

  NewestSpeed Newest() const {
    if (samples_.empty()) return std::nullopt;
    return Bps(samples_.back().in, samples_.back().out);
  }

  /// As a message shows them: minutes from the start, speeds with a sign; none of an interface that has only zeroes.
  std::vector<Sample> Shown() const {
    const bool is_shown = std::any_of(samples_.begin(), samples_.end(),
                                      [](const Point& point) { return point.in != 0 || point.out != 0; });
    std::vector<Sample> shown;
    for (const Point& point : samples_) {
      if (!is_shown) break;
      shown.push_back({.minute = std::int64_t{point.time} / 60 - test::kStartMinute,
                       .input = static_cast<std::int64_t>(point.in),
                       .output = static_cast<std::int64_t>(point.out)});
    }
    return shown;
  }

 private:
  struct Point {
    time_t time;
    std::uint64_t in;
    std::uint64_t out;
  };

  void Measure(time_t now) {
    Octets base = *last_;
    if (latest_->in < base.in) base.in = 0;
    if (latest_->out < base.out) base.out = 0;
    const bool is_unchanged = latest_->in == base.in && latest_->out == base.out;
    if (samples_.empty() && is_unchanged && (latest_->in != 0 || latest_->out != 0)) {
      has_list_ = false;
      return;
    }
    Point point{now, 0, 0};
    if (!samples_.empty() && sample_time_ == last_sample_time_) {
      point.in = samples_.back().in;
      point.out = samples_.back().out;
    } else if (sample_time_ > last_sample_time_) {
      const auto seconds = static_cast<std::uint64_t>(sample_time_ - last_sample_time_);
      point.in = (latest_->in - base.in) / seconds;
      point.out = (latest_->out - base.out) / seconds;
    }
    AppendWithin30(point);
  }

  void DropFuture(time_t now) {
    while (!samples_.empty() && samples_.front().time > now) samples_.pop_front();
  }

  void AppendWithin30(const Point& point) {
    samples_.push_back(point);
    has_list_ = true;
    if (samples_.size() > 30) samples_.pop_front();
  }

  std::optional<Octets> latest_;
  std::optional<Octets> last_;
  time_t sample_time_ = 0;
  time_t last_sample_time_ = 0;
  std::deque<Point> samples_;
  bool has_list_ = false;
};

/// Answers of a device whose counters and clock do what they can.
class RandomAnswers {
 public:
  explicit RandomAnswers(unsigned seed) : random_(seed) {}

  Answer Next(time_t now) {
    Answer answer{.kind = Answer::Kind::kDated, .sampled_at = Time(now), .octets = Counters()};
    const int kind = Draw(12);
    if (kind == 0) answer.kind = Answer::Kind::kWithout;
    if (kind == 1) answer.kind = Answer::Kind::kNothing;
    if (Draw(25) == 0) answer.seconds = -60 * (Draw(40) + 1);
    return answer;
  }

 private:
  int Draw(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(random_); }

  std::uint64_t Counter(std::uint64_t before) {
    switch (Draw(10)) {
      case 0:
        return before;
      case 1:
        return static_cast<std::uint64_t>(Draw(10'000));  // restarted
      case 2:
        return before - static_cast<std::uint64_t>(Draw(3));  // slipped, or around zero
      case 3:
        return kTwoTo32 - static_cast<std::uint64_t>(Draw(5'000));
      case 4:
        return kLargest - static_cast<std::uint64_t>(Draw(5'000));
      case 5:
        return 0;
      default:
        return before + static_cast<std::uint64_t>(Draw(1'000'000));  // wraps at times
    }
  }

  Octets Counters() {
    if (Draw(4) == 0) return octets_;
    octets_ = {Counter(octets_.in), Counter(octets_.out)};
    return octets_;
  }

  time_t Time(time_t now) {
    switch (Draw(8)) {
      case 0:
        return time_;
      case 1:
        return time_ -= Draw(3'600);
      case 2:
        return time_ = static_cast<time_t>(Draw(3));
      case 3:
        return time_ = now;
      default:
        return time_ += Draw(180);
    }
  }

  std::mt19937 random_;
  Octets octets_;
  time_t time_ = kStart;
};

TEST_F(TrafficCounters, OfRandomSeriesGiveTheSpeedsOfThePlainRules) {
  constexpr unsigned kSeries = 40;
  constexpr int kPasses = 100;
  std::size_t measured = 0;
  std::size_t waits = 0;
  for (unsigned seed = 0; seed < kSeries && !HasFailure(); ++seed) {
    RandomAnswers answers(seed);
    PlainInterface plain;
    clock.Set(kStart);
    network.Switch(kSwitch).WithoutPort("ge1");
    monitor.Cleanup(kSwitch);
    for (int pass = 1; pass <= kPasses && !HasFailure(); ++pass) {
      SCOPED_TRACE("series " + std::to_string(seed) + ", pass " + std::to_string(pass));
      Answer answer = answers.Next(clock.Now().tv_sec);
      if (answer.kind == Answer::Kind::kWithout) answer.sampled_at = clock.Now().tv_sec + answer.seconds;
      PassWith(answer);
      plain.Pass(clock.Now().tv_sec, answer);
      EXPECT_EQ(Speed(), plain.Newest());
      measured += plain.Newest() && plain.Newest() != kZero ? 1 : 0;
      waits += plain.Newest() ? 0 : 1;
      if (pass % 10 == 0) {
        EXPECT_EQ(Samples("1m", kSwitch, "ge1"), plain.Shown());
      }
    }
  }
  // The series are of use: all that the rules tell apart happens in them.
  EXPECT_GT(measured, kSeries * kPasses / 4);
  EXPECT_GT(waits, kSeries);
}

}  // namespace
