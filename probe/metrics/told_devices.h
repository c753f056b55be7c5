#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "probe/metrics/families.h"

namespace probe::metrics {

/// Open notifications of a device.
struct OpenNotifications {
  std::int64_t info = 0;
  std::int64_t warning = 0;
  std::int64_t alert = 0;
};

/// What a probe and a centre tell of a device alike. What is not known is nothing. Texts are as they came.
struct DeviceFigures {
  std::string device{};  ///< Its id.
  std::string name{};
  std::string address{};
  std::string type{};
  std::string model{};
  std::string version{};
  bool is_online = false;
  std::optional<time_t> read_at{};    ///< Seconds since the epoch.
  std::optional<double> cpu_ratio{};  ///< 0 to 1. This and the rest are told of a device that is online only.
  std::optional<double> uptime{};     ///< Seconds.
  std::optional<int> health_level{};  ///< 1 to 4, greater is worse.
  std::optional<OpenNotifications> notifications{};
  std::optional<double> clients{};  ///< By its own count.
  std::optional<double> portal_users{};
  std::optional<double> trusted_neighbours{};  ///< Access points that it hears.
  std::optional<double> untrusted_neighbours{};
};

/// The families of such figures.
///
/// Threads: none of its own, no lock.
class DeviceFamilies {
 public:
  DeviceFamilies();

  /// Samples that a device may have.
  static constexpr std::size_t kMaxSamples = 14;

  /// `labels` stand before those of the device: where it is, if there are several places.
  void Add(const Labels& labels, const DeviceFigures& figures);

  void MoveTo(std::vector<prometheus::MetricFamily>& families);

 private:
  void AddReading(const Labels& device, const DeviceFigures& figures);

  Family info_;
  Family up_;
  Family read_at_;
  Family cpu_;
  Family uptime_;
  Family health_;
  Family notifications_;
  Family clients_;
  Family portal_users_;
  Family neighbours_;
};

/// Families of what a probe tells of itself, and a centre of each of its sites.
Family BuildInfoFamily();
Family ClockSpeedFamily();
Family LastPassFamily();
Family HistoryReadyFamily();

/// Labels, and others behind them.
Labels Joined(const Labels& labels, Labels others);

}  // namespace probe::metrics
