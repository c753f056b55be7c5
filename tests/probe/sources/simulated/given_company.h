#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/simulated_network.h"

namespace probe::simulated {

inline constexpr time_t kMinute = 60;
inline constexpr time_t kHour = 60 * kMinute;
inline constexpr time_t kDay = 24 * kHour;
inline constexpr time_t kMonday = 1'794'787'200;  ///< Monday 16 November 2026, midnight UTC.

/// Whole tests in the time zone UTC, so that the company's hours are those of the numbers.
class SimulatedTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
};

/// A company of its own, with a device centre of its own.
class GivenCompany {
 public:
  explicit GivenCompany(const SimulatedNetworkSettings& settings = {}) : network(centre, settings) {}

  using Look = std::function<void(time_t now)>;

  /// Advances from `from` to `until`, both included, and looks at each reading.
  void Run(
      time_t from, time_t until, time_t step, const Look& look = [](time_t) {});

  std::vector<std::string> Online() { return centre.GetOnlineManagedDevices(true); }
  const DeviceSnapshot& Device(const std::string& mac);

  /// Clients associated with online devices.
  std::size_t Clients();

  DeviceCentre centre;
  SimulatedNetwork network;

 private:
  std::map<std::string, std::shared_ptr<const DeviceSnapshot>> held_;  // what Device gave references to
};

/// Everything that the devices of the centre say, as lines of text. Octets that are no plain text are in hex.
std::string TextOf(DeviceCentre& centre);

}  // namespace probe::simulated
