// Random series of one device with several interfaces, whose true octets are known, against what the plug-in would
// compute from the snapshots. The oracle keeps every true octet and knows nothing of how counters are widened.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "probe/sources/snmp/device_figures.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {
namespace {

using Random = std::mt19937_64;

std::uint64_t Between(Random& random, std::uint64_t least, std::uint64_t most) {
  return std::uniform_int_distribution<std::uint64_t>(least, most)(random);
}

bool Chance(Random& random, int one_in) {
  return Between(random, 1, static_cast<std::uint64_t>(one_in)) == 1;
}

/// One direction of one interface: all octets that ever passed, and what the device's counter shows of them.
struct Direction {
  std::uint64_t truth = 0;
  std::uint64_t shown_from = 0;  // the truth at which the counter showed 0
  std::uint64_t stale_by = 0;    // for one reading the counter shows an older value

  OctetCounter Shown(bool is_64bit) const {
    const std::uint64_t octets = truth - shown_from - stale_by;
    return {.value = is_64bit ? octets : static_cast<std::uint32_t>(octets), .is_64bit = is_64bit};
  }
};

struct Port {
  std::string name;
  bool is_64bit = true;
  bool is_idle = false;
  std::uint64_t bits_per_second = 1'000'000'000;
  Direction in;
  Direction out;
  std::uint32_t discontinuity = 0;
};

/// What may happen to the device, besides traffic, silence, renumbering and the wraps of its counters and its uptime.
struct Faults {
  bool restarts = false;
  bool slips = false;
  bool kinds = false;
  bool missing = false;
  bool fast_narrow = true;  // 32-bit counters on links that turn them over several times during a silence
};

class SimulatedDevice {
 public:
  SimulatedDevice(std::uint64_t seed, Faults faults) : random_(seed), faults_(faults) {
    // Near the wrap of sysUpTime in every fourth series.
    started_ms_ = Chance(random_, 4) ? now_ms_ - 42'949'672'960 + 200'000 : now_ms_ - 7'777'770;
    const auto ports = Between(random_, 1, 4);
    for (std::uint64_t i = 0; i < ports; ++i) {
      Port port;
      port.name = "eth" + std::to_string(i);
      port.is_64bit = Chance(random_, 2);
      const bool is_fast = (port.is_64bit || faults_.fast_narrow) && Chance(random_, 2);
      port.bits_per_second = is_fast ? 1'000'000'000 : 100'000'000;
      port.is_idle = Chance(random_, 4);
      port.in.truth = Between(random_, 0, 6'000'000'000);
      port.out.truth = Between(random_, 0, 6'000'000'000);
      ports_.push_back(port);
    }
  }

  /// Lets one interval pass and does to the device what may happen meanwhile.
  void Pass() {
    const std::uint64_t ms = Between(random_, 27'000, 33'000) * (Chance(random_, 20) ? Between(random_, 2, 6) : 1);
    now_ms_ += static_cast<std::int64_t>(ms);
    for (Port& port : ports_) Carry(port, ms);
    if (Chance(random_, 10)) std::shuffle(ports_.begin(), ports_.end(), random_);
    // Apart from each other: what slips back while there is evidence of a restart may as well have restarted.
    ++passes_since_fault_;
    if (faults_.restarts && Chance(random_, 15) && (!faults_.slips || passes_since_fault_ > 8)) Restart(ms);
    if (faults_.slips) Slip();
    if (faults_.kinds && Chance(random_, 15)) {
      Port& port = ports_[Between(random_, 0, ports_.size() - 1)];
      port.is_64bit = !port.is_64bit;
    }
  }

  snmp::Reading Reading() {
    snmp::Reading reading;
    reading.system.name = "device";
    reading.system.mac = "02:FC:00:00:00:01";
    reading.system.sys_uptime_ticks = static_cast<std::uint32_t>((now_ms_ - started_ms_) / 10);
    if (faults_.missing && Chance(random_, 20)) {
      reading.errors = {"interfaces: no answer"};
      return reading;
    }
    reading.interfaces.emplace();
    for (std::size_t i = 0; i < ports_.size(); ++i) {
      const Port& port = ports_[i];
      InterfaceReading row;
      row.if_index = static_cast<std::uint32_t>(i + 1);
      row.name = port.name;
      row.discontinuity_ticks = port.discontinuity;
      row.bits_per_second = port.bits_per_second;
      if (!faults_.missing || !Chance(random_, 20)) row.in_octets = port.in.Shown(port.is_64bit);
      if (!faults_.missing || !Chance(random_, 20)) row.out_octets = port.out.Shown(port.is_64bit);
      reading.interfaces->push_back(row);
    }
    return reading;
  }

  Random& random() { return random_; }
  std::int64_t now_ms() const { return now_ms_; }

  /// What had passed when the counters that are shown were current.
  std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> Truth() const {
    std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> truth;
    for (const Port& port : ports_) truth[port.name] = {port.in.truth - port.in.stale_by, port.out.truth};
    return truth;
  }

 private:
  void Carry(Port& port, std::uint64_t ms) {
    if (port.is_idle) return;
    const std::uint64_t most = port.bits_per_second / 8 * ms / 1000;
    port.in.truth += Between(random_, 0, most);
    port.out.truth += Between(random_, 0, most / 10);
  }

  void Restart(std::uint64_t ms) {
    passes_since_fault_ = 0;
    const auto kind = Between(random_, 0, 2);
    if (kind == 0) {  // one interface, as after a new module
      Port& port = ports_[Between(random_, 0, ports_.size() - 1)];
      port.in.shown_from = port.in.truth;
      port.out.shown_from = port.out.truth;
      port.discontinuity = static_cast<std::uint32_t>((now_ms_ - started_ms_) / 10);
      return;
    }
    started_ms_ = now_ms_ - static_cast<std::int64_t>(Between(random_, 1000, ms - 1000));
    if (kind == 1) return;  // the agent alone: the counters of the system go on
    for (Port& port : ports_) {
      for (Direction* direction : {&port.in, &port.out}) {
        direction->shown_from = direction->truth;
        // Some traffic has passed since then, which the link could carry.
        direction->truth += Between(random_, 0, 100'000);
      }
      port.discontinuity = 0;
    }
  }

  void Slip() {
    // Isolated ones: of two in a row nobody could say which of them is right.
    for (Port& port : ports_) port.in.stale_by = 0;
    if (passes_since_fault_ < 4 || !Chance(random_, 6)) return;
    passes_since_fault_ = 0;
    Port& port = ports_[Between(random_, 0, ports_.size() - 1)];
    if (Chance(random_, 2)) {
      port.in.stale_by = std::min(Between(random_, 1, 1'000'000), port.in.truth - port.in.shown_from);
    } else {
      port.in.shown_from += std::min(Between(random_, 1, 1'000'000), port.in.truth - port.in.shown_from);
    }
  }

  Random random_;
  const Faults faults_;
  std::int64_t now_ms_ = 1'700'000'000'000;
  std::int64_t started_ms_ = 0;
  int passes_since_fault_ = 0;
  std::vector<Port> ports_;
};

/// What the plug-in keeps of one interface, and what was true at that reading.
struct Seen {
  std::uint64_t in = 0;
  std::uint64_t out = 0;
  time_t sampled_at = 0;
};

/// The truth at each reading that was handed on.
struct Moment {
  std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> truth;
  std::int64_t ms = 0;
};

/// Octets as the contract counts them.
std::uint64_t Counted(std::uint64_t last, std::uint64_t now) {
  return now < last ? now : now - last;
}

struct Sums {
  std::uint64_t counted = 0;
  std::uint64_t truth = 0;
  int speeds = 0;
};

/// Runs one series and checks every speed; `is_exact` expects all octets to be counted.
Sums RunSeries(std::uint64_t seed, Faults faults, bool is_exact) {
  SimulatedDevice device(seed, faults);
  DeviceFigures figures(DeviceSettings{});
  std::map<time_t, Moment> moments;
  std::map<std::string, Seen> last;
  Sums sums;
  std::int64_t wall_ms = device.now_ms();
  for (int poll = 0; poll < 120; ++poll) {
    const std::int64_t before = device.now_ms();
    device.Pass();
    wall_ms += device.now_ms() - before;
    // Our own clock is set now and then, and an answer takes up to a second to arrive.
    if (Chance(device.random(), 30))
      wall_ms += static_cast<std::int64_t>(Between(device.random(), 0, 7'200'000)) - 3'600'000;
    const std::int64_t steady = (device.now_ms() + static_cast<std::int64_t>(Between(device.random(), 0, 1000))) / 10;
    const auto snapshot = figures.Take(device.Reading(), {.steady_ticks = steady, .wall = wall_ms / 1000});
    EXPECT_TRUE(snapshot.has_value());
    if (!snapshot) return sums;
    moments.try_emplace(*snapshot->sample_time, Moment{device.Truth(), device.now_ms()});
    if (Chance(device.random(), 3)) continue;  // the plug-in does not see every reading
    std::map<std::string, Seen> now;
    for (const auto& [name, state] : snapshot->interfaces) {
      if (state->traffic == nullptr) continue;
      now[name] = {state->traffic->in_bytes, state->traffic->out_bytes, *snapshot->sample_time};
      const auto found = last.find(name);
      if (found == last.end() || found->second.sampled_at == *snapshot->sample_time) continue;
      const Seen& then = found->second;
      const Moment& from = moments.at(then.sampled_at);
      const Moment& to = moments.at(*snapshot->sample_time);
      const std::uint64_t in = Counted(then.in, now[name].in);
      const std::uint64_t out = Counted(then.out, now[name].out);
      const std::uint64_t true_in = to.truth.at(name).first - from.truth.at(name).first;
      const std::uint64_t true_out = to.truth.at(name).second - from.truth.at(name).second;
      const std::string where = "seed " + std::to_string(seed) + ", poll " + std::to_string(poll) + ", " + name;
      EXPECT_LE(in, true_in) << where;
      EXPECT_LE(out, true_out) << where;
      if (is_exact) {
        EXPECT_EQ(in, true_in) << where;
        EXPECT_EQ(out, true_out) << where;
      }
      // Whole seconds cut up to one off; over a restart the time is ours, with the delays of two answers. A restart
      // within seconds of another one, or of the wrap of sysUpTime, cannot be told.
      const double seconds = static_cast<double>(*snapshot->sample_time - then.sampled_at);
      const double true_seconds = static_cast<double>(to.ms - from.ms) / 1000;
      EXPECT_NEAR(seconds, true_seconds, faults.restarts ? 8.1 : 1.1) << where;
      sums.counted += in + out;
      sums.truth += true_in + true_out;
      ++sums.speeds;
    }
    last = now;
  }
  return sums;
}

constexpr std::uint64_t kSeries = 100;

TEST(CounterOracle, CountsEveryOctetWithoutFaults) {
  int speeds = 0;
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) speeds += RunSeries(seed, {.fast_narrow = false}, true).speeds;
  EXPECT_GT(speeds, 10'000);
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthWhenCountersTurnOverUnseen) {
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) RunSeries(seed, {}, false);
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthThroughRestarts) {
  Sums all;
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) {
    const Sums one = RunSeries(seed, {.restarts = true}, false);
    all.counted += one.counted;
    all.truth += one.truth;
  }
  EXPECT_GT(static_cast<double>(all.counted), 0.5 * static_cast<double>(all.truth));
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthThroughSlips) {
  Sums all;
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) {
    const Sums one = RunSeries(seed, {.slips = true}, false);
    all.counted += one.counted;
    all.truth += one.truth;
  }
  EXPECT_GT(static_cast<double>(all.counted), 0.8 * static_cast<double>(all.truth));
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthWhenColumnsAndTablesAreMissing) {
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) RunSeries(seed, {.missing = true}, false);
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthWhenCountersChangeTheirWidth) {
  for (std::uint64_t seed = 1; seed <= kSeries; ++seed) RunSeries(seed, {.kinds = true}, false);
}

TEST(CounterOracle, NeverCountsMoreThanTheTruthThroughEverything) {
  for (std::uint64_t seed = 1; seed <= 2 * kSeries; ++seed) {
    RunSeries(seed, {.restarts = true, .slips = true, .kinds = true, .missing = true}, false);
  }
}

}  // namespace
}  // namespace probe::snmp
