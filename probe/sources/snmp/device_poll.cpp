#include "probe/sources/snmp/device_poll.h"

#include <ctime>
#include <utility>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

using Clock = std::chrono::steady_clock;

namespace {

/// Tables that failed, of which the health of a poll tells; a device without any answers has dozens.
constexpr std::size_t kMaxErrors = 3;

std::string Joined(const std::vector<std::string>& errors) {
  std::string text;
  for (std::size_t i = 0; i < errors.size() && i < kMaxErrors; ++i) text += (i == 0 ? "" : "; ") + errors[i];
  if (errors.size() > kMaxErrors) text += "; and " + std::to_string(errors.size() - kMaxErrors) + " more";
  return text;
}

class NetworkPoll : public DevicePoll {
 public:
  NetworkPoll(const DeviceSettings& settings, const ProfileCatalogue& catalogue, const StopEvent& stop)
      : profile_name_(settings.profile), catalogue_(catalogue), agent_(settings, &stop) {}

  PollResult Poll(Clock::time_point deadline) override {
    const Clock::time_point start = Clock::now();
    agent_.StartPoll(deadline);
    PollResult result;
    health_.error.clear();
    if (match_.profile != nullptr || Recognise()) result.reading = Read();
    if (result.reading && !health_.error.empty() && Clock::now() >= deadline) {
      // How many tables were left varies from poll to poll, and would be another error in each.
      health_.error = "a poll takes longer than it may, so that not all tables are read";
    }
    health_.answered = result.reading.has_value();
    if (health_.answered) health_.last_answer = time(nullptr);
    health_.failed_polls = health_.answered ? 0 : health_.failed_polls + 1;
    health_.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    health_.statistics = agent_.statistics();
    result.health = health_;
    return result;
  }

 private:
  /// Chooses the profile. False when the device did not answer, or none is for it.
  bool Recognise() {
    if (!profile_name_.empty()) {
      match_ = {.profile = catalogue_.Find(profile_name_), .why = "named in the configuration"};
    } else {
      SystemGroup system = ReadSystemGroup(agent_);
      if (system.failure != Failure::kNone) {
        health_.error = std::move(system.error);
        return false;
      }
      match_ = catalogue_.Match(system.object_id, system.description);
      object_id_ = OidText(system.object_id);
      description_ = std::move(system.description);
    }
    if (match_.profile == nullptr) {
      health_.error = profile_name_.empty() ? "no profile is for this device, and there is none named \"generic\""
                                            : "there is no profile named \"" + profile_name_ + "\"";
      return false;
    }
    health_.profile = match_.profile->name;
    health_.profile_reason = match_.why;
    return true;
  }

  std::optional<Reading> Read() {
    DeviceAnswer answer = ReadDevice(*match_.profile, agent_);
    if (!answer.reading) {
      health_.error = std::move(answer.error);
      return std::nullopt;
    }
    const SystemReading& system = answer.reading->system;
    // Another device has taken the address, or this one runs another firmware: recognised again by the next poll.
    const bool is_other = system.object_id != object_id_ || system.description != description_;
    if (profile_name_.empty() && is_other) match_.profile = nullptr;
    health_.error = Joined(answer.reading->errors);
    return std::move(answer.reading);
  }

  const std::string profile_name_;  // empty: recognised
  const ProfileCatalogue& catalogue_;
  NetSnmpAgent agent_;
  ProfileMatch match_;
  std::string object_id_;    // by which it was recognised
  std::string description_;  // likewise
  PollHealth health_;
};

}  // namespace

std::unique_ptr<DevicePoll> MakeDevicePoll(const DeviceSettings& settings, const ProfileCatalogue& catalogue,
                                           const StopEvent& stop) {
  return std::make_unique<NetworkPoll>(settings, catalogue, stop);
}

}  // namespace probe::snmp
