// What the threads of the sources do when the heap is exhausted: a thread that lets that out ends the process.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "probe/clock/clock.h"
#include "probe/host/device_centre.h"
#include "probe/sources/simulated/simulated_source.h"
#include "probe/sources/snmp/name_lookups.h"
#include "probe/sources/snmp/poll_schedule.h"
#include "probe/sources/this_machine/machine_reading.h"
#include "probe/sources/this_machine/this_machine.h"
#include "tests/support/shortage/heap_shortage.h"

namespace {

using test::HeapShortage;
using namespace std::chrono_literals;

constexpr time_t kNoon = 1'794'830'400;  // 2026-11-16 12:00:00 UTC
constexpr auto kPatience = 60s;          // for an event that a working machine sees at once

thread_local std::optional<HeapShortage> source_shortage;

/// A clock that goes on by half a minute whenever a source's thread looks at it, and has one of the next allocations of
/// that thread fail: a later one each time.
class ShortClock final : public probe::Clock {
 public:
  timeval Now() override {
    if (std::this_thread::get_id() == owner_) return {.tv_sec = now.load(), .tv_usec = 0};
    if (source_shortage && HeapShortage::HasStruck()) ++struck;
    source_shortage.reset();
    if (is_short.load()) source_shortage.emplace(readings * 5);
    ++readings;
    return {.tv_sec = now += 30, .tv_usec = 0};
  }
  unsigned Sleep(unsigned /*seconds*/) override { return 0; }

  std::atomic<time_t> now{kNoon};
  std::atomic<int> readings{0};
  std::atomic<int> struck{0};
  std::atomic<bool> is_short{true};

 private:
  const std::thread::id owner_ = std::this_thread::get_id();
};

TEST(SourceShortage, TheSimulatedNetworkLeavesAReadingOutAndGoesOn) {
  constexpr int kReadings = 50;
  ShortClock clock;
  const probe::ClockInstallation installation(clock);
  probe::DeviceCentre centre;
  probe::SimulatedSource source(centre, {}, 1);
  source.Start();
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (clock.readings < kReadings && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  clock.is_short = false;
  const time_t short_until = clock.now;
  const std::string mac = source.network().DeviceMacs()[0];
  const auto is_read_again = [&] {
    const auto snapshot = centre.Snapshot(mac);
    return snapshot != nullptr && snapshot->sample_time > short_until;
  };
  while (!is_read_again() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  EXPECT_TRUE(is_read_again());
  EXPECT_GT(clock.struck, kReadings / 2);
}

probe::MachineReading ReadingOfShortMachine() {
  probe::Link card;
  card.if_index = 2;
  card.name = "eth0";
  card.is_hardware = true;
  card.hardware_address = "00:16:3e:00:00:01";
  probe::MachineReading reading;
  reading.links = {card};
  return reading;
}

TEST(SourceShortage, ThisMachineLeavesAReadingOutAndStaysOnline) {
  for (const bool is_failing : {false, true}) {
    probe::DeviceCentre centre;
    bool is_first = true;
    int spared = 0;
    probe::ThisMachine machine(centre, {}, [&] {
      if (std::exchange(is_first, false)) return ReadingOfShortMachine();
      const probe::MachineReading reading = ReadingOfShortMachine();
      const std::runtime_error failure("the kernel does not answer");
      source_shortage.emplace(spared);
      if (is_failing) throw failure;
      return reading;
    });
    machine.RefreshOnce();
    for (bool has_struck = true; has_struck; ++spared) {
      EXPECT_NO_THROW(machine.RefreshOnce()) << spared;
      has_struck = HeapShortage::HasStruck();
      source_shortage.reset();
      const auto snapshot = centre.Snapshot("00:16:3E:00:00:01");
      ASSERT_NE(snapshot, nullptr);
      EXPECT_TRUE(is_failing || snapshot->online) << spared;
    }
    EXPECT_GT(spared, 1);
  }
}

TEST(SourceShortage, TheEndOfAPollNeedsNoMemory) {
  using Schedule = probe::snmp::PollSchedule;
  const Schedule::Time start{};
  Schedule schedule({10s}, start);
  ASSERT_TRUE(schedule.Begin(start).has_value());
  {
    const HeapShortage shortage(0, HeapShortage::Of::kNew, HeapShortage::Lasts::kForEver);
    schedule.Finish(0, true, start + 1s);
  }
  EXPECT_TRUE(schedule.NextDue().has_value());
}

TEST(SourceShortage, ANameForWhichThereIsNoMemoryIsNotResolved) {
  probe::snmp::NameLookups lookups([](const std::string&) -> probe::snmp::NameAnswer { throw std::bad_alloc(); });
  const auto answer = lookups.LookUp("access-point.example", std::chrono::steady_clock::now() + kPatience, nullptr);
  EXPECT_EQ(answer.error, "no memory");
}

}  // namespace
