#include "tests/plugin/storm_checks.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/plugin/storm_network.h"
#include "tests/support/json_numbers.h"
#include "tests/support/schema/schema.h"

namespace storm {
namespace {

using Json = nlohmann::json;
using utilities::lock::lock_guard;

constexpr int kMaxCount = kAccessPoints * kMaxClients;
constexpr int kMaxPrinted = 10;

/// What is wrong with a message or report; empty when nothing is.
using Complaint = std::string;

Complaint Unless(bool is_right, const std::string& complaint) {
  return is_right ? Complaint() : complaint;
}

/// The first complaint about the members or elements of a tree.
template <typename Check>
Complaint OfEach(const Json& tree, Check check) {
  for (const auto& [key, value] : tree.items()) {
    if (Complaint complaint = check(key, value); !complaint.empty()) return key + ": " + complaint;
  }
  return {};
}

bool IsWithin(const Json& number, std::int64_t least, std::int64_t most) {
  return number.is_number() && number >= least && number <= most;
}

/// In the view of minutes a speed is that of the interface or 0; means lie between.
Complaint OfInterface(int device, const std::string& name, bool is_mean, const Json& shown) {
  const auto rate = static_cast<std::int64_t>(RateOf(device, name));
  if (rate == 0) return "there is no such interface";
  if (shown["ifIndex"] != IfIndexOf(name)) return "has an ifIndex of another";
  std::int64_t last = 0;
  for (const Json& sample : shown["traffic"]) {
    for (const char* direction : {"input", "output"}) {
      const bool is_right =
          is_mean ? IsWithin(sample[direction], 0, rate) : sample[direction] == 0 || sample[direction] == rate;
      if (!is_right) return "no speed of it: " + sample.dump();
    }
    if (sample["time"] < last) return "samples are not in order";
    last = sample["time"];
  }
  return {};
}

Complaint OfTraffic(const Json& body) {
  return OfEach(body, [](const std::string& view, const Json& shown) {
    if (!shown.contains("traffic_data")) return Unless(view == "no such view", "has no data");
    return OfEach(shown["traffic_data"], [&](const std::string& mac, const Json& interfaces) {
      const int device = DeviceOf(mac);
      if (device < 0) return Complaint("there is no such device");
      return OfEach(interfaces, [&](const std::string& name, const Json& interface) {
        return name == "credential" ? Complaint() : OfInterface(device, name, view != "1m", interface);
      });
    });
  });
}

/// All numbers anywhere in a tree are counts of clients.
Complaint OfCounts(const Json& tree) {
  if (tree.is_number()) return Unless(IsWithin(tree, 0, kMaxCount), "more clients than there are: " + tree.dump());
  if (!tree.is_structured()) return {};
  return OfEach(tree, [](const std::string& /*key*/, const Json& value) { return OfCounts(value); });
}

Complaint OfHealth(const Json& body) {
  if (body["status"].size() > kDevices) return "more devices than there are";
  return OfEach(body["status"], [](const std::string& /*key*/, const Json& device) {
    if (DeviceOf(device["device"]) < 0) return Complaint("there is no such device");
    if (!IsWithin(device["actual_cpu"]["value"], -1, 100)) return "no such CPU use: " + device.dump();
    if (!IsWithin(device["uptime"]["value"], -1, 3'600)) return "no such uptime: " + device.dump();
    if (!device.contains("clients")) return Complaint();
    if (!IsWithin(device["clients"]["value"], 0, kMaxClients)) return "too many clients: " + device.dump();
    return Unless(IsWithin(device["rogue_aps"]["value"], 0, kMaxRogues), "too many rogues: " + device.dump());
  });
}

/// A ranking is as long as was asked for at most, and in order.
Complaint OfRanking(const Json& ranking, const char* by) {
  if (ranking.size() > kMaxClients) return "longer than was asked for";
  for (std::size_t place = 1; place < ranking.size(); ++place) {
    if (ranking[place - 1][by] < ranking[place][by]) return "not in order: " + ranking.dump();
  }
  return {};
}

Complaint OfTop(const Json& body) {
  for (const char* kind : {"access_points", "wireless_networks", "wireless_clients"}) {
    if (Complaint complaint = OfRanking(body[kind]["traffic"], "total"); !complaint.empty()) return complaint;
    if (!body[kind].contains("client")) continue;
    if (Complaint complaint = OfRanking(body[kind]["client"], "clients"); !complaint.empty()) return complaint;
    for (const Json& place : body[kind]["client"]) {
      if (!IsWithin(place["clients"], 0, kMaxCount)) return "more clients than there are: " + place.dump();
    }
  }
  return {};
}

Complaint OfMessage(const std::string& topic, const Json& body) {
  if (topic == "TrafficMonitor") return OfTraffic(body);
  if (topic == "HealthMonitor") return OfHealth(body);
  if (topic == "wireless_top_monitor") return OfTop(body);
  return OfEach(body, [](const std::string& /*view*/, const Json& shown) {
    return OfEach(shown, [](const std::string& name, const Json& counts) {
      // An object by minute: the minutes are names, and the counts are the numbers.
      return name == "sid" || name == "credential" ? Complaint() : OfCounts(counts);
    });
  });
}

Complaint OfClientReport(const Json& report) {
  if (report["wireless_clients"].size() > kMaxCount || !report["wireless_guests"].empty()) return "too many clients";
  return OfEach(report["wireless_clients"], [](const std::string& /*key*/, const Json& row) {
    if (!IsWithin(row["time_online"], 0, 7 * 86'400) || !IsWithin(row["online_time"], 0, 100)) {
      return "online for too long: " + row.dump();
    }
    if (row["upload"] != row["download"] || row["total"] != 2 * row["upload"].get<std::int64_t>()) {
      return "unequal traffic: " + row.dump();
    }
    return Unless(row["upload"].get<std::uint64_t>() % kClientRate == 0, "no such traffic: " + row.dump());
  });
}

Complaint OfNetworkReport(const Json& report) {
  if (report["rogue_ap"].size() > kMaxRogues) return "too many rogue access points";
  if (report["wireless_access_points"].size() > kAccessPoints) return "too many access points";
  if (report["wireless_network"].size() > 1) return "too many networks";
  // Of all four access points together: megabits of 2^20 bits.
  constexpr double kMaxSpeed = 2 * 8 * 4'000.0 * (1 + 2 + 3 + 4) / (1 << 20U);
  for (const char* kind : {"wireless_access_points", "wireless_network", "spectrum_usage"}) {
    for (const Json& shown : report[kind]) {
      if (!IsWithin(shown["client_count"]["peak"], 0, kMaxCount)) return "too many clients: " + shown.dump();
      const Json& peak = shown["traffic"]["peak"];
      if (peak.is_number() && (peak < 0 || peak > kMaxSpeed + 0.001)) return "too fast: " + shown.dump();
    }
  }
  return {};
}

const std::map<std::string, std::string> kSchemas{{"TrafficMonitor", "traffic_monitor"},
                                                  {"HealthMonitor", "health_monitor"},
                                                  {"SSIDClientCountMonitor", "ssid_client_count_monitor"},
                                                  {"DevicesClientCountMonitor", "devices_client_count_monitor"},
                                                  {"wireless_top_monitor", "wireless_top_monitor"}};

}  // namespace

const std::vector<std::string> kTopics{"TrafficMonitor", "HealthMonitor", "SSIDClientCountMonitor",
                                       "DevicesClientCountMonitor", "wireless_top_monitor"};

void Checks::Message(const std::string& text) {
  const Json message = Json::parse(text, nullptr, false);
  const auto schema = kSchemas.find(message.is_object() ? message.value("name", "") : "");
  if (schema == kSchemas.end()) return Fault("no message of a topic: " + text);
  if (const auto why = test::SchemaViolation(schema->second, text); !why.empty()) return Fault(why);
  const Complaint complaint = OfMessage(schema->first, message["data"]);
  if (!complaint.empty()) return Fault(schema->first + ": " + complaint);
  // An empty message of any topic has no number but times.
  if (text.find("AA:00") != std::string::npos || text.find("Office") != std::string::npos) NoteFilled(schema->first);
}

void Checks::Report(const std::string& schema, const std::string& made) {
  const std::string text = test::WithNullForNoNumbers(made);
  if (text == "{}" && is_nothing_allowed_) return;
  if (const auto why = test::SchemaViolation(schema, text); !why.empty()) return Fault(why);
  const Json report = Json::parse(text);
  Complaint complaint;
  if (schema == "wireless_client_report") complaint = OfClientReport(report);
  if (schema == "wireless_network_report") complaint = OfNetworkReport(report);
  if (!complaint.empty()) return Fault(schema + ": " + complaint);
  if (text.find("Office") != std::string::npos || text.find("2026-") != std::string::npos) NoteFilled(schema);
}

void Checks::Speed(int device, const std::string& interface, const std::map<std::string, unsigned long long>& speeds) {
  for (const auto& [direction, speed] : speeds) {
    if (speed != 0 && speed != RateOf(device, interface)) {
      return Fault("GetInterfaceTraffic: " + interface + " has " + std::to_string(speed));
    }
  }
  if (!speeds.empty()) NoteFilled("GetInterfaceTraffic");
}

void Checks::Fault(const std::string& what) {
  if (++faults_ <= kMaxPrinted) std::fprintf(stderr, "storm: %s\n", what.substr(0, 2'000).c_str());
}

void Checks::NoteFilled(const std::string& what) {
  const lock_guard held(lock_);
  ++filled_[what];
}

std::map<std::string, int> Checks::Filled() const {
  const lock_guard held(lock_);
  return filled_;
}

}  // namespace storm
