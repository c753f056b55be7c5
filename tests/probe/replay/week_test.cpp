// A week of the simulated network, replayed as fast as it goes.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/recording/recording_writer.h"
#include "probe/sources/simulated/simulated_network.h"
#include "tests/support/childrens_time.h"

namespace {

constexpr time_t kStart = 1'795'219'200;
constexpr int kDay = 1'440;  // passes
constexpr int kWeek = 7 * kDay;

/// Writes so many passes of the simulated network as a recording, pass by pass.
void WriteRecording(int passes, FILE* file) {
  std::ostringstream stream;
  const auto hand_over = [&] {
    const std::string text = stream.str();
    EXPECT_EQ(fwrite(text.data(), 1, text.size(), file), text.size());
    stream.str({});
  };
  auto& centre = probe::DeviceCentre::Instance();
  centre.Clear();
  probe::SimulatedNetwork network(centre, {});
  probe::recording::RecordingWriter writer(stream);
  writer.Header(kStart, "UTC");
  writer.Subscribe("TrafficMonitor", "client", R"([{"sid": "a", "filter": {"interval": "1h"}}])");
  for (int pass = 1; pass <= passes; ++pass) {
    const time_t now = kStart + pass * 60;
    network.Advance(now);
    for (const std::string& mac : network.DeviceMacs()) writer.Device(mac, *centre.Snapshot(mac));
    writer.Pass(now);
    hand_over();
  }
  centre.Clear();
}

/// What the replay of a recording cost. It goes through a pipe and is never whole anywhere.
template <typename Write>
nlohmann::json TimingOf(Write write) {
  const std::string result = ::testing::TempDir() + "week_" + std::to_string(getpid()) + ".timing";
  FILE* input = popen((std::string(VEXORA_REPLAY) + " --timing - | tail -n 1 >" + result).c_str(), "w");
  write(input);
  EXPECT_EQ(pclose(input), 0);
  FILE* file = fopen(result.c_str(), "r");
  nlohmann::json timing = nlohmann::json::parse(file)["timing"];
  fclose(file);
  std::remove(result.c_str());
  return timing;
}

nlohmann::json Timing(int passes) {
  return TimingOf([passes](FILE* input) { WriteRecording(passes, input); });
}

TEST(ReplayOfManyLines, NeedsNoMoreMemoryThanThatOfFew) {
  const auto peak = [](int lines) {
    const nlohmann::json timing = TimingOf([lines](FILE* input) {
      std::fputs("{\"recording\": 1, \"start\": 0}\n", input);
      for (int line = 0; line < lines; ++line) {
        std::fprintf(input,
                     R"({"device": {"mac": "A", "merge": {"interfaces": {"ge1": {"traffic": {"in_bytes": %d}}}}}})"
                     "\n",
                     line);
      }
    });
    return timing["peak_rss_kib"].get<long>();
  };
  constexpr long kSlackKib = 1'024;
  EXPECT_LT(peak(100'000), peak(100) + kSlackKib);
}

TEST(ReplayOfAWeek, TakesUnderTwentySecondsAndNoMoreMemoryThanADay) {
  setenv("TZ", "UTC", 1);
  tzset();
  const nlohmann::json day = Timing(kDay);
  const double before = test::ChildrensProcessorSeconds();
  const nlohmann::json week = Timing(kWeek);
  const double taken = test::ChildrensProcessorSeconds() - before;
  EXPECT_EQ(week["passes"], kWeek);
  EXPECT_EQ(week["pushes"], kWeek);
  RecordProperty("week_ms", static_cast<int>(taken * 1'000));
  RecordProperty("day_rss_kib", day["peak_rss_kib"].get<int>());
  RecordProperty("week_rss_kib", week["peak_rss_kib"].get<int>());
  // by the processor's clock: the wall's tells as much of who else is at work on the machine
  constexpr double kTwentySeconds = 20;
  EXPECT_LT(taken, kTwentySeconds);
  // the longer views fill up in the days after the first; anything that grew with the passes would be far more
  constexpr int kFillingViewsKib = 2'048;
  EXPECT_LT(week["peak_rss_kib"].get<int>(), day["peak_rss_kib"].get<int>() + kFillingViewsKib);
}

}  // namespace
