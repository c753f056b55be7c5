#include "monitor/reports/network/network_periods.h"

#include <limits>

#include "monitor/engine/report_limits.h"

namespace vexora_probe::monitor {
namespace {

template <typename Buckets>
bool DropOldest(Buckets& daily) {
  if (daily.size() <= monitoring::kMaxReportDays) return false;
  daily.erase(daily.begin());
  return true;
}

}  // namespace

double Quotient(double dividend, std::int32_t divisor) {
  static_assert(std::numeric_limits<double>::is_iec559, "a division by zero must have a result");
  return dividend / static_cast<double>(divisor);
}

void ForEachFinishedRecord(
    const std::string& today, Buckets& daily,
    const std::function<void(const std::string& day, const std::string& id, AccessPoints& measured)>& finish) {
  for (auto bucket = daily.begin(); bucket != daily.end() && bucket->first < today; ++bucket) {
    for (auto& [id, record] : bucket->second) finish(bucket->first, id, record.measured);
  }
}

bool DropOldestDay(Buckets& daily) {
  return DropOldest(daily);
}

bool DropOldestDay(RogueBuckets& daily) {
  return DropOldest(daily);
}

WeekOfIds RegroupByWeek(const Buckets& daily, const ReportTime& time,
                        const std::function<void(const std::string& day)>& outside) {
  WeekOfIds week;
  for (const auto& [day, records] : daily) {
    if (!time.IsInWeek(day)) {
      outside(day);
      continue;
    }
    for (const auto& [id, record] : records) week[id].push_back(&record);
  }
  return week;
}

}  // namespace vexora_probe::monitor
