#include "tests/plain/history/random_time.h"

#include <algorithm>
#include <vector>

namespace history {
namespace {

constexpr std::int64_t kDay = 86'400;

/// Moments at which a clock is changed, or a week, a month or a year ends, in UTC.
const std::vector<time_t>& Moments() {
  static const std::vector<time_t> moments{
      1'792'886'400,  // 2026-10-25 00:00, the day on which Europe's clocks go back
      1'774'742'400,  // 2026-03-29 00:00, and forward
      1'793'491'200,  // 2026-11-01 00:00, America's go back
      1'772'928'000,  // 2026-03-08 00:00, and forward
      1'774'688'400,  // 2026-03-28 21:00, near midnight in Beirut, where that hour is left out
      1'795'219'200,  // 2026-11-21 00:00, a Saturday
      1'798'761'600,  // 2027-01-01 00:00
      951'782'400,    // 2000-02-29 00:00
      600'000'000,    // 10,000,000 minutes: a digit more
      2'145'900'000,  // shortly before the last
  };
  return moments;
}

}  // namespace

RandomTime::RandomTime(Dice& dice, bool is_dense)
    : dice_(dice),
      zone_(dice.OneOf<std::string>(
          {"UTC", "UTC", "Europe/Berlin", "America/New_York", "Asia/Beirut", "Australia/Lord_Howe", "Asia/Kolkata"})),
      pace_seconds_(is_dense ? 300 : dice.OneOf<int>({60, 60, 60, 60, 300, 1'800, 3'600, 7'200, 43'200, 86'400})),
      steps_percent_(is_dense ? dice.Below(2) : dice.OneOf<int>({0, 1, 5, 15, 50})),
      now_(dice.OneOf(Moments()) - dice.Below(4 * 3'600)),
      start_(now_) {}

void RandomTime::Advance() {
  constexpr std::int64_t kLast = 2'146'000'000;  // two weeks before 32 bits end
  const std::int64_t next = dice_.Percent(steps_percent_) ? Stepped() : now_ + std::int64_t{pace_seconds_};
  now_ = static_cast<time_t>(std::clamp<std::int64_t>(next, 0, kLast));
}

std::int64_t RandomTime::Around(std::int64_t moment) {
  return moment + dice_.OneOf<std::int64_t>({-61, -60, -1, 0, 1, 59, 60, 299, 300, 301});
}

std::int64_t RandomTime::Stepped() {
  tm local{};
  localtime_r(&now_, &local);
  const std::int64_t now = now_;
  const std::int64_t midnight = now - local.tm_hour * 3'600 - local.tm_min * 60 - local.tm_sec;
  switch (dice_.Below(18)) {
    case 0:
      return now;
    case 1:
      return now + 1 + dice_.Below(59);
    case 2:
      return now - 1;
    case 3:
      return now - 60 * (1 + dice_.Below(10));
    case 4:
      return now - 3'600 * (1 + dice_.Below(30));
    case 5:
      return now - kDay * (1 + dice_.Below(8));
    case 6:
      return now - 7 * kDay;
    case 7:
      return now + 7 * kDay;
    case 8:
      return now + kDay * (1 + dice_.Below(8));
    case 9:
      return Around(midnight + kDay);
    case 10:
      return Around(midnight);
    case 11:
      return Around(midnight + (7 - local.tm_wday) * kDay);
    case 12:
      return Around(midnight + 2 * 3'600);
    case 13:
      return now + 60 * dice_.Below(180);
    case 14:
      return Around(now / 300 * 300);
    case 15:  // before all that there is
      return start_ - 60 * dice_.Below(3);
    default:
      return dice_.Percent(20) ? Around(dice_.OneOf(Moments())) : now + 300;
  }
}

}  // namespace history
