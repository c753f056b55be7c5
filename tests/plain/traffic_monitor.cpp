#include "tests/plain/traffic_monitor.h"

#include <algorithm>

#include "platform/logging.h"
#include "platform/utilities/text.h"
#include "tests/plain/json.h"

namespace plain {
namespace {

constexpr std::size_t kCap = 30;  // samples of a history

/// An interface that carries a network is shown as its band and SSID.
std::string DisplayName(const std::string& interface, const std::string& ssid, int radio) {
  if (ssid.empty()) return interface;
  if (radio == 0) return "2.4Ghz - " + ssid;
  if (radio == 1) return "5Ghz - " + ssid;
  return " - " + ssid;
}

}  // namespace

TrafficMonitor::~TrafficMonitor() {
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::~TrafficMonitor] Start");
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::~TrafficMonitor] End");
}

void TrafficMonitor::Collect() {
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    const auto device = DeviceWithDriver(mac);
    if (device == nullptr) continue;
    time_t sampled_at = 0;
    const Statistics statistics = ReadInterfaces(mac, *device, sampled_at);
    if (statistics.empty()) {
      pel_log_info(log_module::kMonitor, "TrafficMonitor::Collectdata the traffic for mac: %s is empty", mac.c_str());
    } else {
      StoreReading(mac, *device, statistics, sampled_at);
    }
  }
}

TrafficMonitor::Statistics TrafficMonitor::ReadInterfaces(const std::string& mac, const Device& device,
                                                          time_t& sampled_at) {
  Statistics statistics;
  for (const auto& [name, state] : device.get_all_interfaces_state(sampled_at)) {
    // Measured is what is up and has statistics and a name that is no number.
    if (state == nullptr || state->oper_status != 1 || state->traffic == nullptr) continue;
    if (name.empty() || kro_utilities::string_con::IsInteger(name)) continue;
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Collectdata] device id: %s, interface name: %s, ifIndex: %d",
                  mac.c_str(), name.c_str(), state->traffic->if_index);
    statistics[name] = state->traffic;
  }
  return statistics;
}

void TrafficMonitor::StoreReading(const std::string& mac, const Device& device, const Statistics& statistics,
                                  time_t sampled_at) {
  Reading reading{.counters = {}, .sampled_at = sampled_at, .read_at = now_};
  for (const auto& [interface, traffic] : statistics) {
    std::string ssid;
    int radio = -1;
    device.get_ssid_radio(interface, ssid, radio);
    pel_log_debug(log_module::kMonitor,
                  "[ConvertDriverStruct] TrafficMonitor ConvertDriverStruct interface name:%s, ssid: %s, radio:%d",
                  interface.c_str(), ssid.c_str(), radio);
    const std::string name = DisplayName(interface, ssid, radio);
    if (name != interface && !mac.empty()) Rename(mac, interface, name);
    // Of two interfaces with one display name the last one counts.
    reading.counters[name] = {.in = traffic->in_bytes, .out = traffic->out_bytes};
    if_indexes_[mac][name] = traffic->if_index;
  }
  latest_[mac] = reading;
}

/// An interface that got a display name takes its histories along, in place of what stood there: also one that the
/// clock has emptied.
void TrafficMonitor::Rename(const std::string& mac, const std::string& from, const std::string& to) {
  for (auto& [view, devices] : views_) {
    if (!devices.contains(mac) || !devices[mac].contains(from)) continue;
    const History history = devices[mac][from];
    devices[mac].erase(from);
    devices[mac][to] = history;
  }
}

void TrafficMonitor::Fold() {
  DropFuture("1m");
  PadMissingInterfaces();
  const auto latest = latest_;
  for (const auto& [mac, reading] : latest) FoldDevice(mac, reading);
  for (const ViewStep& step : kViewSteps) {
    DropFuture(step.shorter);
    Average(step);
  }
  DropFuture("1day");
}

/// A known interface without counters gets a sample of speed 0: a gap shows as silence.
void TrafficMonitor::PadMissingInterfaces() {
  for (auto& [mac, interfaces] : views_["1m"]) {
    for (auto& [interface, history] : interfaces) {
      if (latest_.contains(mac) && latest_[mac].counters.contains(interface)) continue;
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::CalculateTrafficSpeed] Padzero for mac: %s, interface: %s",
                    mac.c_str(), interface.c_str());
      history.push_back({.time = now_});
      if (history.size() > kCap) history.pop_front();
    }
  }
}

void TrafficMonitor::FoldDevice(const std::string& mac, const Reading& latest) {
  Reading reading = latest;
  reading.read_at = now_;  // a device that no longer answers counts as read again, with the same counters
  const Reading before = before_[mac];
  for (const auto& [interface, now] : reading.counters) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s inbytes:%llu outbytes:%llu", mac.c_str(),
                  interface.c_str(), static_cast<unsigned long long>(now.in), static_cast<unsigned long long>(now.out));
    if (before.counters.contains(interface)) {
      FoldInterface(mac, interface, now, reading, before);
      continue;
    }
    // The first sample has speed 0 and is not held against the cap.
    views_["1m"][mac][interface].push_back({.time = now_});
    pel_log_debug(
        log_module::kMonitor,
        "[CalculateTrafficSpeed] Padzero for mac: %s, interface: %s. Can't find the interface in last element",
        mac.c_str(), interface.c_str());
  }
  before_[mac] = reading;
}

void TrafficMonitor::FoldInterface(const std::string& mac, const std::string& interface, const Counters& now,
                                   const Reading& latest, const Reading& before) {
  using LongLong = unsigned long long;
  Counters last = before.counters.at(interface);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s lastinbytes:%llu lastoutbytes:%llu", mac.c_str(),
                interface.c_str(), LongLong{last.in}, LongLong{last.out});
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] this time %lu last time %lu",
                static_cast<unsigned long>(latest.read_at), static_cast<unsigned long>(before.read_at));
  // A counter that fell has restarted and counts from 0.
  if (now.in < last.in) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current input traffic less than last input traffic.Maybe the device's "
                 "traffic was cleared.");
    last.in = 0;
  }
  if (now.out < last.out) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current output traffic less than last output traffic.Maybe the device's "
                 "traffic was cleared.");
    last.out = 0;
  }
  Sample sample{.time = latest.read_at};
  // The speed is the mean over the time that passed by the device's clock; 0 when that stood still or went back.
  std::int64_t interval = 0;
  const bool is_too_long =
      __builtin_sub_overflow(std::int64_t{latest.sampled_at}, std::int64_t{before.sampled_at}, &interval);
  if (!is_too_long && interval > 0) {
    const auto seconds = static_cast<std::uint64_t>(interval);
    sample.input = (now.in - last.in) / seconds;
    sample.output = (now.out - last.out) / seconds;
  }
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] in: %llu, in_last: %llu, out: %llu, out_last: %llu, current_polling_time_: "
                "%ld, last_polling_time_: %ld",
                LongLong{now.in}, LongLong{last.in}, LongLong{now.out}, LongLong{last.out},
                static_cast<long>(latest.read_at), static_cast<long>(before.read_at));
  // Who starts without a history waits until counters that stand somewhere move.
  Interfaces& interfaces = views_["1m"][mac];
  if (interfaces[interface].empty() && now == last && now != Counters{}) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] Wait for the first data change");
    interfaces.erase(interface);
    return;
  }
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s current_sample_time_ %d last_sample_time_ %d",
                mac.c_str(), interface.c_str(), static_cast<int>(latest.sampled_at),
                static_cast<int>(before.sampled_at));
  // Without a new reading there is no new speed: the newest one is repeated.
  if (!interfaces[interface].empty() && latest.sampled_at == before.sampled_at) {
    sample.input = interfaces[interface].back().input;
    sample.output = interfaces[interface].back().output;
  }
  AppendSpeed(mac, interface, sample);
}

void TrafficMonitor::AppendSpeed(const std::string& mac, const std::string& interface, const Sample& sample) {
  History& history = views_["1m"][mac][interface];
  history.push_back(sample);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s push %d speed: %s in %d out %d, time %u",
                mac.c_str(), interface.c_str(), 1, "1m", static_cast<int>(sample.input),
                static_cast<int>(sample.output), static_cast<unsigned>(sample.time));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s list length %d", mac.c_str(), interface.c_str(),
                static_cast<int>(history.size()));
  if (history.size() > kCap) history.pop_front();
}

/// Drops the oldest samples as long as they lie in the future: that repairs a history after the clock was set back.
void TrafficMonitor::DropFuture(const std::string& view) {
  for (auto& [mac, interfaces] : views_[view]) {
    for (auto& [interface, history] : interfaces) {
      while (!history.empty() && history.front().time > now_) {
        pel_log_debug(log_module::kMonitor, "[TrafficMonitor::RemoveBadTimeSample] Remove junk sample");
        history.pop_front();
      }
    }
  }
}

void TrafficMonitor::Average(const ViewStep& step) {
  const auto count = static_cast<std::size_t>(step.count);
  for (const auto& [mac, interfaces] : views_[step.shorter]) {
    Interfaces& longer = views_[step.longer][mac];  // a device is in every view from its first pass on
    for (const auto& [interface, history] : interfaces) {
      if (history.size() < count) continue;
      const bool has_means = longer.contains(interface) && !longer[interface].empty();
      const time_t newest_mean = has_means ? longer[interface].back().time : 0;
      if (Minute(history.back().time) - Minute(newest_mean) < step.minutes) continue;
      Sample mean{.time = now_};
      for (auto at = std::prev(history.end(), step.count); at != history.end(); ++at) {
        mean.input += at->input;
        mean.output += at->output;
      }
      mean.input /= count;
      mean.output /= count;
      History& means = longer[interface];  // exists from its first sample on
      // The cap comes before the sample, so a longer view keeps one more.
      if (means.size() > kCap) means.pop_front();
      means.push_back(mean);
    }
  }
}

void TrafficMonitor::Push(const subscribes::SubscriptionList& subscriptions) {
  for (const auto& [filter, connections] : GroupByFilter(subscriptions)) {
    for (const auto& [connection, sids] : connections) Send(connection, Message(*filter, sids));
  }
}

std::string TrafficMonitor::Message(const Filter& filter, const std::vector<std::string>& sids) const {
  const std::string view = filter.interval.empty() ? "10m" : filter.interval;
  json_object* body = json_object_new_object();
  // A view that there is not leaves "traffic_data" out.
  if (views_.contains(view)) {
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::GenerateJsonMsg] current interval is : %s", view.c_str());
    json_object* data = json_object_new_object();
    for (const auto& [mac, interfaces] : views_.at(view)) {
      if (!filter.mac.empty() && mac != filter.mac) continue;
      Json device(DeviceObject(mac, interfaces));
      if (!filter.mac.empty()) AddCredentials(device.get(), mac, "TrafficMonitor");
      if (json_object_object_length(device.get()) != 0) Add(data, mac, device.release());
    }
    Add(body, "traffic_data", data);
  }
  Add(body, "sid", Texts(sids));
  json_object* message = json_object_new_object();
  Add(message, view, body);
  return Composed(Name(), message);
}

json_object* TrafficMonitor::DeviceObject(const std::string& mac, const Interfaces& interfaces) const {
  json_object* device = json_object_new_object();
  for (const auto& [interface, history] : interfaces) {
    if (interface.empty()) continue;
    bool is_silent = true;
    for (const Sample& sample : history) {
      pel_log_debug(log_module::kMonitor,
                    "[TrafficMonitor::GenerateJsonMsg] Device: %s, interface: %s, inBps: %llu, outBps: %llu",
                    mac.c_str(), interface.c_str(), static_cast<unsigned long long>(sample.input),
                    static_cast<unsigned long long>(sample.output));
      if (sample.input != 0 || sample.output != 0) is_silent = false;
    }
    // An interface that moved nothing is not shown.
    if (is_silent) continue;
    json_object* object = json_object_new_object();
    const auto indexes = if_indexes_.find(mac);
    const bool has_index = indexes != if_indexes_.end() && indexes->second.contains(interface);
    Add(object, "ifIndex", Integer(has_index ? indexes->second.at(interface) : 0));
    Add(object, "traffic", SampleArray(history));
    Add(device, interface, object);
  }
  return device;
}

json_object* TrafficMonitor::SampleArray(const History& history) {
  json_object* array = json_object_new_array();
  for (const Sample& sample : history) {
    json_object* object = json_object_new_object();
    Add(object, "time", Integer(Minute(sample.time)));
    Add(object, "input", Octets(sample.input));
    Add(object, "output", Octets(sample.output));
    Append(array, object);
  }
  return array;
}

void TrafficMonitor::NewestSpeed(const std::string& mac, const std::string& interface,
                                 std::map<std::string, unsigned long long>& out) const {
  const auto view = views_.find("1m");
  if (view == views_.end() || !view->second.contains(mac) || !view->second.at(mac).contains(interface)) return;
  const History& history = view->second.at(mac).at(interface);
  if (history.empty()) return;
  out["input"] = history.back().input;
  out["output"] = history.back().output;
}

void TrafficMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac : %s", mac.c_str());
  latest_.erase(mac);
  before_.erase(mac);
  if_indexes_.erase(mac);
  for (auto& [view, devices] : views_) devices.erase(mac);
}

}  // namespace plain
