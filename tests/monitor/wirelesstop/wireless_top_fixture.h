#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"
#include "monitor/engine/json_tree.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/device_records.h"
#include "tests/support/network.h"

namespace test {

inline constexpr const char* kLobby = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kYard = "AA:AA:AA:AA:AA:02";
inline constexpr const char* kRoof = "AA:AA:AA:AA:AA:03";

/// So many KiB, in octets.
constexpr std::uint64_t Kib(std::uint64_t kib) {
  return kib * 1024;
}

/// A client as its access point reports it.
inline vexora_probe::models::controller::AssocClientState Client(const std::string& mac, Octets octets = {},
                                                                 const std::string& name = "") {
  vexora_probe::models::controller::AssocClientState client;
  client.mac = mac;
  client.hostname = name;
  client.in_bytes = octets.in;
  client.out_bytes = octets.out;
  return client;
}

/// A filter in JSON that wants all there is, in the order of this ranking by traffic.
inline std::string Everything(const std::string& orderby = "in") {
  const std::string traffic = R"("traffic": {"count": 1000, "flag": "desc", "orderby": ")" + orderby + "\"}";
  const std::string both = "{" + traffic + R"(, "clients": {"count": 1000, "flag": "desc"}})";
  return R"({"access_point": )" + both + R"(, "wireless_networks": )" + both + R"(, "wireless_clients": {)" + traffic +
         "}}";
}

/// A wireless top monitor over a network, driven pass by pass.
class WirelessTopTest : public ::testing::Test {
 protected:
  void Pass() { monitor.DataUpdate(); }

  /// The filter that this JSON text stands for.
  std::shared_ptr<Filter> Parsed(const std::string& filter) {
    const monitoring::JsonTree request(json_tokener_parse((R"([{"sid": "a", "filter": )" + filter + "}]").c_str()));
    return monitor.FilterParser(request.get()).at("a");
  }

  /// The message of SID "a" for this filter.
  std::string Message(const std::string& filter) {
    const auto wanted = std::dynamic_pointer_cast<WirelessTopFilter>(Parsed(filter));
    return monitor.GenerateJsonMsg("wireless_top_monitor", wanted.get(), {"a"});
  }

  /// One list of a message, each entry as compact JSON.
  std::vector<std::string> List(const std::string& message, const char* part, const char* list) {
    const monitoring::JsonTree envelope(json_tokener_parse(message.c_str()));
    json_object* entries =
        monitoring::Member(monitoring::Member(monitoring::Member(envelope.get(), "data"), part), list);
    std::vector<std::string> texts;
    if (entries == nullptr) return {"no such list"};
    for (std::size_t index = 0; index < json_object_array_length(entries); ++index) {
      texts.emplace_back(
          json_object_to_json_string_ext(json_object_array_get_idx(entries, index), JSON_C_TO_STRING_PLAIN));
    }
    return texts;
  }

  /// The values of one member of a list.
  std::vector<std::string> Column(const std::string& message, const char* part, const char* list, const char* key) {
    std::vector<std::string> values;
    for (const std::string& entry : List(message, part, list)) {
      const monitoring::JsonTree tree(json_tokener_parse(entry.c_str()));
      values.push_back(monitoring::TextOf(monitoring::Member(tree.get(), key)));
    }
    return values;
  }

  std::vector<std::string> AccessPoints() { return List(Message(Everything()), "access_points", "traffic"); }
  std::vector<std::string> Networks() { return List(Message(Everything()), "wireless_networks", "traffic"); }
  std::vector<std::string> Clients() { return List(Message(Everything()), "wireless_clients", "traffic"); }

  Network network;
  WirelessTopMonitor monitor;
};

}  // namespace test
