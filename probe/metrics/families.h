#pragma once

#include <prometheus/client_metric.h>
#include <prometheus/metric_family.h>
#include <prometheus/metric_type.h>

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "probe/clock/duration_histogram.h"

namespace probe::metrics {

using Labels = std::vector<prometheus::ClientMetric::Label>;

/// One metric with all of its samples, as it is built.
///
/// Threads: none of its own, no lock.
class Family {
 public:
  /// `help` is one line without backslashes: the serialiser writes it as it is.
  Family(prometheus::MetricType type, std::string name, std::string help);

  /// A sample of a counter or a gauge.
  void Add(Labels labels, double value);
  /// One that was measured at a time, seconds since the epoch, whenever it is asked for.
  void AddAt(Labels labels, double value, time_t time);
  void Add(const DurationHistogram& durations, Labels labels = {});

  void Reserve(std::size_t samples) { family_.metric.reserve(samples); }

  /// Moves the family to the end of `families`, unless it has no sample.
  void MoveTo(std::vector<prometheus::MetricFamily>& families);

 private:
  prometheus::MetricFamily family_;
};

inline Family GaugeFamily(std::string name, std::string help) {
  return {prometheus::MetricType::Gauge, std::move(name), std::move(help)};
}

inline Family CounterFamily(std::string name, std::string help) {
  return {prometheus::MetricType::Counter, std::move(name), std::move(help)};
}

inline Family HistogramFamily(std::string name, std::string help) {
  return {prometheus::MetricType::Histogram, std::move(name), std::move(help)};
}

/// A metric with one sample and no labels.
void AddGauge(std::vector<prometheus::MetricFamily>& families, std::string name, std::string help, double value);
void AddCounter(std::vector<prometheus::MetricFamily>& families, std::string name, std::string help, double value);

}  // namespace probe::metrics
