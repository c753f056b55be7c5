// The speed calculation of the traffic monitor: from the counters of two readings to one sample of the "1m" view.

#include "monitor/engine/constants.h"
#include "monitor/traffic/histories.h"
#include "monitor/traffic/traffic_monitor.h"
#include "platform/logging.h"

using monitoring::Traffic;
using monitoring::traffic::Attributes;
using monitoring::traffic::Counters;
using monitoring::traffic::CountersOf;
using monitoring::traffic::History;
using monitoring::traffic::InterfaceAttributes;
using monitoring::traffic::kInBytes;
using monitoring::traffic::kOutBytes;
using monitoring::traffic::TextOf;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_write;

namespace {

time_t TimeOf(const std::map<std::string, time_t>& times, const std::string& mac) {
  const auto found = times.find(mac);
  return found == times.end() ? 0 : found->second;
}

/// Tells which counters restarted between two readings.
void LogRestarts(const Counters& last, const Counters& now) {
  if (now.in < last.in) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current input traffic less than last input traffic.Maybe the device's "
                 "traffic was cleared.");
  }
  if (now.out < last.out) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current output traffic less than last output traffic.Maybe the device's "
                 "traffic was cleared.");
  }
}

/// The counters have not moved since the last reading, and did before it.
bool IsWaitingForChange(const Counters& last, const Counters& now) {
  return now == last && now != Counters{};
}

}  // namespace

void TrafficMonitor::CalculateTrafficSpeed() {
  const lock_guard held(collection_lock_);
  PadMissingInterfaces();
  for (const auto& [mac, latest] : latest_attributes_) CalculateDeviceSpeed(mac, latest);
}

void TrafficMonitor::PadMissingInterfaces() {
  const lock_guard_write held(views_lock_);
  for (auto& [mac, interfaces] : views_[monitoring::kView1m]) {
    for (auto& [interface, history] : interfaces) {
      if (HasLatestAttributes(mac, interface)) continue;
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::CalculateTrafficSpeed] Padzero for mac: %s, interface: %s",
                    mac.c_str(), interface.c_str());
      monitoring::traffic::AppendMinute(history, {.time = current_time()});
    }
  }
}

bool TrafficMonitor::HasLatestAttributes(const std::string& mac, const std::string& interface) const {
  const auto device = latest_attributes_.find(mac);
  return device != latest_attributes_.end() && device->second.contains(interface);
}

void TrafficMonitor::CalculateDeviceSpeed(const std::string& mac, const InterfaceAttributes& latest) {
  current_polling_time_[mac] = current_time();
  const InterfaceAttributes& last = last_attributes_[mac];
  for (const auto& [interface, attributes] : latest) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s inbytes:%s outbytes:%s", mac.c_str(),
                  interface.c_str(), TextOf(attributes, kInBytes), TextOf(attributes, kOutBytes));
    const auto before = last.find(interface);
    if (before == last.end()) {
      AppendFirstSight(mac, interface);
    } else {
      CalculateInterfaceSpeed(mac, interface, attributes, before->second);
    }
  }
  KeepAsLast(mac, latest);
}

void TrafficMonitor::AppendFirstSight(const std::string& mac, const std::string& interface) {
  const lock_guard_write held(views_lock_);
  views_[monitoring::kView1m][mac][interface].push_back({.time = current_time()});  // whatever its length
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] Padzero for mac: %s, interface: %s. Can't find the interface in last element",
                mac.c_str(), interface.c_str());
}

void TrafficMonitor::CalculateInterfaceSpeed(const std::string& mac, const std::string& interface,
                                             const Attributes& latest, const Attributes& last) {
  const Counters before = CountersOf(last);
  const Counters now = CountersOf(latest);
  const Step step{.mac = mac,
                  .interface = interface,
                  .last = monitoring::traffic::AfterRestart(before, now),
                  .now = now,
                  .last_sample_time = TimeOf(last_sample_time_, mac),
                  .sample_time = TimeOf(sample_time_, mac),
                  .last_polling_time = TimeOf(last_polling_time_, mac),
                  .polling_time = TimeOf(current_polling_time_, mac)};
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s lastinbytes:%s lastoutbytes:%s", mac.c_str(),
                interface.c_str(), TextOf(last, kInBytes), TextOf(last, kOutBytes));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] this time %lu last time %lu",
                static_cast<unsigned long>(step.polling_time), static_cast<unsigned long>(step.last_polling_time));
  LogRestarts(before, now);
  Traffic sample = monitoring::traffic::SpeedBetween(
      step.last, step.now, monitoring::traffic::SampleInterval(step.last_sample_time, step.sample_time));
  sample.time = step.polling_time;
  AppendSpeed(step, sample);
}

void TrafficMonitor::AppendSpeed(const Step& step, Traffic sample) {
  using LongLong = unsigned long long;
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] in: %llu, in_last: %llu, out: %llu, out_last: %llu, current_polling_time_: "
                "%ld, last_polling_time_: %ld",
                LongLong{step.now.in}, LongLong{step.last.in}, LongLong{step.now.out}, LongLong{step.last.out},
                static_cast<long>(step.polling_time), static_cast<long>(step.last_polling_time));
  const lock_guard_write held(views_lock_);
  auto& interfaces = views_[monitoring::kView1m][step.mac];
  History& history = interfaces[step.interface];
  if (history.empty() && IsWaitingForChange(step.last, step.now)) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] Wait for the first data change");
    interfaces.erase(step.interface);
    return;
  }
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s current_sample_time_ %d last_sample_time_ %d",
                step.mac.c_str(), step.interface.c_str(), static_cast<int>(step.sample_time),
                static_cast<int>(step.last_sample_time));
  if (!history.empty() && step.sample_time == step.last_sample_time) {  // no new reading, so no new speed
    sample.input = history.back().input;
    sample.output = history.back().output;
  }
  AppendMeasured(step, sample, history);
}

void TrafficMonitor::AppendMeasured(const Step& step, const Traffic& sample, History& history) {
  const std::size_t length = history.size() + 1;
  monitoring::traffic::AppendMinute(history, sample);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s push %d speed: %s in %d out %d, time %u",
                step.mac.c_str(), step.interface.c_str(), 1, monitoring::kView1m, static_cast<int>(sample.input),
                static_cast<int>(sample.output), static_cast<unsigned>(sample.time));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s list length %d", step.mac.c_str(),
                step.interface.c_str(), static_cast<int>(length));
}

void TrafficMonitor::KeepAsLast(const std::string& mac, const InterfaceAttributes& latest) {
  last_attributes_[mac] = latest;
  const time_t polled = current_polling_time_[mac];
  last_polling_time_[mac] = polled != 0 ? polled : current_time();
  if (sample_time_.contains(mac)) last_sample_time_[mac] = sample_time_[mac];
}
