#include "monitor/reports/network/network_periods.h"

#include "monitor/engine/report_limits.h"

namespace vexora_probe::monitor {

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

bool DropOldestDay(Buckets& daily) {
  if (daily.size() <= monitoring::kMaxReportDays) return false;
  daily.erase(daily.begin());
  return true;
}

}  // namespace vexora_probe::monitor
