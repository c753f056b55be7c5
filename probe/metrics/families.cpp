#include "probe/metrics/families.h"

#include <cstdint>
#include <ctime>
#include <limits>
#include <utility>

namespace probe::metrics {

Family::Family(prometheus::MetricType type, std::string name, std::string help) {
  family_.type = type;
  family_.name = std::move(name);
  family_.help = std::move(help);
}

void Family::Add(Labels labels, double value) {
  prometheus::ClientMetric& sample = family_.metric.emplace_back();
  sample.label = std::move(labels);
  (family_.type == prometheus::MetricType::Counter ? sample.counter.value : sample.gauge.value) = value;
}

void Family::AddAt(Labels labels, double value, time_t time) {
  constexpr std::int64_t kMilliseconds = 1000;
  Add(std::move(labels), value);
  family_.metric.back().timestamp_ms = kMilliseconds * time;
}

void Family::Add(const DurationHistogram& durations, Labels labels) {
  prometheus::ClientMetric& sample = family_.metric.emplace_back();
  sample.label = std::move(labels);
  sample.histogram.sample_sum = durations.sum_seconds();
  std::uint64_t count = 0;
  std::size_t place = 0;
  for (const std::uint64_t in_class : durations.counts()) {
    count += in_class;
    const double bound = place < DurationHistogram::kBounds.size() ? DurationHistogram::kBounds.at(place)
                                                                   : std::numeric_limits<double>::infinity();
    sample.histogram.bucket.push_back({count, bound});
    ++place;
  }
  sample.histogram.sample_count = count;
}

void Family::MoveTo(std::vector<prometheus::MetricFamily>& families) {
  if (!family_.metric.empty()) families.push_back(std::move(family_));
}

void AddGauge(std::vector<prometheus::MetricFamily>& families, std::string name, std::string help, double value) {
  Family family = GaugeFamily(std::move(name), std::move(help));
  family.Add({}, value);
  family.MoveTo(families);
}

void AddCounter(std::vector<prometheus::MetricFamily>& families, std::string name, std::string help, double value) {
  Family family = CounterFamily(std::move(name), std::move(help));
  family.Add({}, value);
  family.MoveTo(families);
}

}  // namespace probe::metrics
