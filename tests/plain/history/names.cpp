#include "tests/plain/history/names.h"

namespace history::names {
namespace {

using std::string_literals::operator""s;

/// The usual names, twice as often, and the hostile ones.
template <typename Value>
std::vector<Value> With(const std::vector<Value>& usual, std::vector<Value> hostile) {
  hostile.insert(hostile.end(), usual.begin(), usual.end());
  hostile.insert(hostile.end(), usual.begin(), usual.end());
  return hostile;
}

}  // namespace

const Texts& Macs() {
  static const Texts texts{"AA:AA:AA:AA:AA:01", "AA:AA:AA:AA:AA:02", "AA:AA:AA:AA:AA:03", "AA:AA:AA:AA:AA:04",
                           "AA:AA:AA:AA:AA:05"};
  return texts;
}

const Texts& HostileMacs() {
  static const Texts texts = With(Macs(), {"", "", "no mac", "a/b", "N\0one"s, "N\0two"s, "\xff\xfe", "sid",
                                           "device_client_count_all", "\"quoted\"\\"});
  return texts;
}

const Texts& Interfaces() {
  static const Texts texts{"ge1", "ge2", "wlan0", "wlan1", "wlan2", "17", ""};
  return texts;
}

const Texts& HostileInterfaces() {
  static const Texts texts = With(Interfaces(), {"2.4Ghz - Office", "5Ghz - Guest", " - Office", "c\0one"s, "c\0two"s,
                                                 "\xc3\x28", "state", "-3", "+", "line\nend", "%s%n"});
  return texts;
}

const Texts& Ssids() {
  static const Texts texts{"Office", "Office", "Guest", "Guest", "Yard", ""};
  return texts;
}

const Texts& HostileSsids() {
  static const Texts texts = With(Ssids(), {"a|b", "a|b|3|1", "|", "x/y", "c\0one"s, "c\0two"s, "\xc3\x28",
                                            "ssid_client_count_all", "Office@r0", "%d", "\xe2\x80\xae", "tab\t"});
  return texts;
}

const Texts& Radios() {
  static const Texts texts{"r0", "r0", "r1", "r1", "r2", ""};
  return texts;
}

const Texts& Hosts() {
  static const Texts texts{"", "ap", "lobby", "desk", "\xff", "N\0ul"s, "quote\""};
  return texts;
}

const Texts& Users() {
  static const Texts texts{"", "ann", "bob", "a|b", "\xfe"};
  return texts;
}

const Texts& ClientMacs() {
  static const Texts texts{"0c:00:00:00:00:01", "0C-00-00-00-00-01", "0c:00:00:00:00:02",
                           "0c0000000003",      "0C:00:00:00:00:04", "AA:AA:AA:AA:AA:01"};
  return texts;
}

const Texts& HostileClientMacs() {
  static const Texts texts = With(ClientMacs(), {"", "", "no mac", "a|b", "\0"s, "aa:aa:aa:aa:aa:01", "sid"});
  return texts;
}

const Texts& Views() {
  static const Texts texts{"1m", "5m", "10m", "1h", "2h", "1day", "", "2m", "v\0iew"s, "\xff"};
  return texts;
}

const Texts& Credentials() {
  static const Texts texts{"",
                           "",
                           R"({"state": "ok"})",
                           R"({"state": "refused", "tries": 3, "last": null, "ge1": {"a": [1, 2.5]}, "wlan0": true})",
                           R"({"device": "x", "sid": 1, "devices_client_counts": 2, "": "\u0000"})",
                           "{}",
                           "[1, 2]",
                           "\"text\"",
                           "{broken"};
  return texts;
}

const std::vector<std::pair<std::string, std::string>>& Rogues() {
  static const std::vector<std::pair<std::string, std::string>> rogues{{"BB:BB:BB:BB:BB:01", "foreign"},
                                                                       {"BB:BB:BB:BB:BB:02", "foreign"},
                                                                       {"BB:BB:BB:BB:BB:03", ""},
                                                                       {"BB:BB:BB:BB:BB:04", "cafe"}};
  return rogues;
}

const std::vector<std::pair<std::string, std::string>>& HostileRogues() {
  static const std::vector<std::pair<std::string, std::string>> rogues =
      With(Rogues(), {{"", "nobody"}, {"m", "x/y"}, {"m/x", "y"}, {"m", "\xff"}, {"m", "c\0ut"s}, {"\0"s, ""}});
  return rogues;
}

}  // namespace history::names
