#include "tests/probe/journal/random_history.h"

#include <algorithm>
#include <iterator>

#include "probe/host/device_centre.h"
#include "probe/sources/simulated/simulated_network.h"
#include "tests/probe/journal/random_snapshots.h"

namespace test {
namespace {

using Random = std::mt19937_64;

/// When a history begins: a few minutes before something happens to the date, in Berlin's time.
time_t Beginning(Random& random) {
  static const time_t moments[] = {
      1'795'215'600,  // the night to Saturday, 2026-11-21
      1'795'302'000,  // the night to Sunday: another week
      1'774'738'800,  // the night to 2026-03-29, in which summer time begins
      1'774'746'000,  // the moment at which it begins
      1'792'879'200,  // the night to 2026-10-25, in which it ends
      1'792'886'400,  // an hour before the hour that comes twice
      1'798'758'000,  // the night to 2027
  };
  return moments[Below(random, std::size(moments))] - static_cast<time_t>(Below(random, 40 * 60));
}

/// A minute, mostly; else the machine was busy, somebody set the clock, or days are to pass quickly.
time_t NextPass(Random& random, time_t at) {
  constexpr time_t kHour = 3600;
  const auto some = [&](time_t limit) { return static_cast<time_t>(Below(random, static_cast<std::uint64_t>(limit))); };
  switch (Below(random, 40)) {
    case 0:
      return at + some(26 * kHour);
    case 1:
      return at - some(3 * kHour);
    case 2:
      return at + some(kHour);
    case 3:
      return at;
    case 4:
      return Below(random, 4) == 0 ? at + 24 * kHour * (1 + some(9)) : at + 600;
    default:
      return at + 60 + (Below(random, 5) == 0 ? some(20) : 0);
  }
}

class Storyteller {
 public:
  explicit Storyteller(Random::result_type seed)
      : random_(seed),
        company_(source_, {.seed = seed % 1000, .devices = 4, .clients = 12}),
        macs_(company_.DeviceMacs()) {
    std::shuffle(macs_.begin(), macs_.end(), random_);
    present_ = 1 + Below(random_, macs_.size());
  }

  RandomHistory Tell(std::size_t steps) {
    RandomHistory history;
    history.start = Beginning(random_);
    time_t at = history.start;
    for (std::size_t step = 0; step < steps; ++step) {
      at = NextPass(random_, at);
      history.steps.push_back(StepAt(at));
    }
    return history;
  }

 private:
  HistoryStep StepAt(time_t at) {
    company_.Advance(at);
    HistoryStep step{.at = at, .changes = {}, .clean_ups = {}};
    if (present_ < macs_.size() && Below(random_, 10) == 0) ++present_;
    for (std::size_t index = 0; index < present_; ++index) Report(macs_[index], step);
    return step;
  }

  void Report(const std::string& mac, HistoryStep& step) {
    switch (Below(random_, 60)) {
      case 0:
        step.changes.emplace_back(mac, nullptr);
        if (Below(random_, 2) == 0) step.clean_ups.push_back(mac);
        return;
      case 1:
        step.clean_ups.push_back(mac);
        break;
      case 2: {
        probe::DeviceSnapshot odd = RandomSnapshot(random_);
        if (odd.basic_info) odd.basic_info->mac = mac;
        step.changes.emplace_back(mac, std::make_shared<const probe::DeviceSnapshot>(std::move(odd)));
        return;
      }
      case 3:
      case 4:
      case 5:
        return;  // it does not answer
      default:
        break;
    }
    probe::DeviceSnapshot snapshot = *source_.Snapshot(mac);
    if (Below(random_, 30) == 0) snapshot.sample_time.reset();
    if (Below(random_, 30) == 0) snapshot.online = !snapshot.online;
    if (Below(random_, 30) == 0) snapshot.known = false;
    step.changes.emplace_back(mac, std::make_shared<const probe::DeviceSnapshot>(std::move(snapshot)));
  }

  Random random_;
  probe::DeviceCentre source_;
  probe::SimulatedNetwork company_;
  std::vector<std::string> macs_;
  std::size_t present_ = 0;  // of them have been named
};

}  // namespace

RandomHistory MakeHistory(Random::result_type seed, std::size_t steps) {
  return Storyteller(seed).Tell(steps);
}

}  // namespace test
