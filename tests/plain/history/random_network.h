#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/device_records.h"
#include "probe/host/device_snapshot.h"
#include "tests/plain/history/dice.h"

namespace history {

/// A network of random devices in the probe's device centre, which is emptied when it comes and when it goes.
///
/// Each device has everything that a monitor asks for. Between two passes counters move and readings are refreshed;
/// now and then something changes that a network does not do every day: a device vanishes, is renamed, loses its
/// driver, an SSID moves to another radio, counters restart. Names hold what devices and people may put there. Times of
/// change take turns with times in which nothing moves or nobody is there.
class RandomNetwork {
 public:
  /// `unrest`: how many of 100 steps bring a change beside moving counters.
  RandomNetwork(Dice& dice, int unrest);
  ~RandomNetwork();
  RandomNetwork(const RandomNetwork&) = delete;
  RandomNetwork& operator=(const RandomNetwork&) = delete;

  /// Goes on to the next pass.
  void Step(time_t now);

  /// MACs and interface names that there may be, and some that there are not.
  const std::vector<std::string>& Macs() const { return macs_; }
  const std::vector<std::string>& Interfaces() const { return interfaces_; }

 private:
  /// What goes on at present.
  enum class Phase : std::uint8_t { kUsual, kStill, kDeserted };

  void ChangePhase();
  probe::DeviceSnapshot NewDevice(time_t now);
  void Change(probe::DeviceSnapshot& device, time_t now);
  void ChangeStanding(probe::DeviceSnapshot& device);
  void ChangeIdentity(probe::DeviceSnapshot& device);
  void ChangeHealth(probe::DeviceSnapshot& device);
  void ChangePort(probe::DeviceSnapshot& device);
  void ChangeWifi(probe::DeviceSnapshot& device);
  void ChangeRadios(probe::DeviceSnapshot& device);
  void ChangeClients(probe::DeviceSnapshot& device);
  void ChangeConfiguration(probe::DeviceSnapshot& device);
  void ChangeNeighbours(probe::DeviceSnapshot& device);
  void ChangePortal(probe::DeviceSnapshot& device);

  void Refresh(probe::DeviceSnapshot& device, time_t now);
  void MoveCounters(probe::DeviceSnapshot& device);
  time_t Clocked(time_t now, const std::optional<time_t>& before);
  std::uint64_t Moved(std::uint64_t counter);
  vexora_probe::models::controller::AssocClientState NewClient();

  Dice& dice_;
  Phase phase_ = Phase::kUsual;
  const int unrest_;
  const bool is_hostile_;
  const bool is_wild_;  // device clocks and counters jump by any amount
  // The names of one history: few, so that they meet again.
  std::vector<std::string> macs_;
  const std::vector<std::string> interfaces_;
  const std::vector<std::string> ssids_;
  const std::vector<std::string> client_macs_;
  const std::vector<std::pair<std::string, std::string>> rogues_;
  std::map<std::string, probe::DeviceSnapshot> devices_;
};

}  // namespace history
