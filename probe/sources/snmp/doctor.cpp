#include "probe/sources/snmp/doctor.h"

#include <chrono>
#include <cstddef>
#include <utility>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/failure_text.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading_text.h"
#include "probe/sources/snmp/system_group.h"
#include "probe/text/utf8.h"

namespace probe::snmp {

using Clock = std::chrono::steady_clock;

namespace {

std::string Line(const std::string& name, const std::string& value) {
  constexpr std::size_t kWidth = 13;
  return name + std::string(name.size() < kWidth ? kWidth - name.size() : 1, ' ') + value + "\n";
}

std::string SecurityText(const DeviceSettings& settings) {
  std::string text = std::string("version ") + VersionName(settings.version);
  if (settings.version != Version::k3) return text;
  return text + ", user \"" + settings.user + "\", authentication " + ProtocolName(settings.auth) + ", privacy " +
         ProtocolName(settings.privacy);
}

/// Whether an agent is at the address, whoever may ask it.
bool KnowsVersion3(DeviceSettings settings, const RequestTimes& times) {
  settings.version = Version::k3;
  settings.community.clear();
  settings.user = "probe";
  NetSnmpAgent agent(settings, nullptr, times);
  const Failure failure = ReadSystemGroup(agent).failure;
  return failure == Failure::kNone || failure == Failure::kRefused;
}

std::string AdviceText(const DeviceSettings& settings, Failure failure, const RequestTimes& times) {
  if (failure != Failure::kNoReply || settings.version == Version::k3 || !KnowsVersion3(settings, times)) return {};
  return Line("advice",
              "an SNMP agent is at this address, for it answers version 3: the community is wrong, or this "
              "machine or version " +
                  std::string(VersionName(settings.version)) + " is not allowed");
}

std::string CostText(const PollStatistics& statistics, Clock::duration duration) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
  std::string text = std::to_string(statistics.pdus) + " requests, " + std::to_string(statistics.timeouts) +
                     " without an answer, in " + std::to_string(milliseconds) + " ms";
  return text;
}

}  // namespace

Diagnosis Diagnose(const DeviceSettings& settings, const ProfileCatalogue& catalogue, const RequestTimes& times) {
  const Clock::time_point start = Clock::now();
  Diagnosis diagnosis;
  diagnosis.text = Line("device", EndpointText(settings, "") + ", " + SecurityText(settings));
  NetSnmpAgent agent(settings, nullptr, times);
  const SystemGroup system = ReadSystemGroup(agent);
  if (system.failure != Failure::kNone) {
    diagnosis.text += Line("answers", "no: " + system.error) + AdviceText(settings, system.failure, times);
    return diagnosis;
  }
  diagnosis.answers = true;
  diagnosis.text += Line("answers", "yes") + Line("sysDescr", PrintableLine(system.description)) +
                    Line("sysObjectID", OidText(system.object_id));
  ProfileMatch match = catalogue.Match(system.object_id, system.description);
  if (!settings.profile.empty()) match = {.profile = catalogue.Find(settings.profile), .why = "it was asked for"};
  if (match.profile == nullptr) {
    diagnosis.text += Line("profile", settings.profile.empty() ? "none is for this device"
                                                               : "there is none named \"" + settings.profile + "\"");
    return diagnosis;
  }
  diagnosis.text += Line("profile", match.profile->name + ": " + match.why);
  const DeviceAnswer answer = ReadDevice(*match.profile, agent);
  if (answer.reading) diagnosis.text += "\n" + ReadingText(*answer.reading) + "\n";
  if (!answer.error.empty()) diagnosis.text += Line("error", answer.error);
  diagnosis.text += Line("cost", CostText(agent.statistics(), Clock::now() - start));
  return diagnosis;
}

}  // namespace probe::snmp
