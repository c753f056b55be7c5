#include "probe/replay/recording.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "probe/sources/recorded/members.h"

namespace probe::recording {
namespace {

using Json = nlohmann::ordered_json;  // members reach the plug-in in the order of the recording

constexpr int kVersion = 1;

constexpr std::array<const char*, 4> kReportEntries{
    "get_wireless_client_report", "get_wireless_client_report_avail_list", "get_wireless_network_report",
    "get_wireless_network_report_avail_list"};

/// Objects and arrays within one another in one line; more would outgrow json-c's reader on the way to the plug-in.
constexpr int kMostDepth = 30;

/// Refuses, while a line is read, what no reader after this one would notice.
class LineCheck {
 public:
  bool operator()(int depth, Json::parse_event_t event, const Json& value) {
    if (depth > kMostDepth) throw MalformedRecording("nested too deeply");
    if (event == Json::parse_event_t::object_start) keys_.emplace_back();
    if (event == Json::parse_event_t::object_end) keys_.pop_back();
    if (event == Json::parse_event_t::key && !keys_.back().insert(value.get<std::string>()).second) {
      throw MalformedRecording("duplicate member " + value.get<std::string>());
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> keys_;  // of each object that is open
};

Json Parsed(const std::string& text) {
  try {
    auto check = std::make_shared<LineCheck>();
    return Json::parse(text, [check](int depth, Json::parse_event_t event, const Json& value) {
      return (*check)(depth, event, value);
    });
  } catch (const Json::parse_error& error) {
    throw MalformedRecording("no JSON: at octet " + std::to_string(error.byte));
  } catch (const Json::exception&) {
    throw MalformedRecording("no JSON: a number is too large");
  }
}

/// Whether the tz database has a zone of this name, which is the same on every machine.
bool IsTimezone(const std::string& name) {
  if (name == "UTC") return true;
  if (name.empty() || name.front() == '/' || name.find('.') != std::string::npos || name == "localtime" ||
      name == "posixrules") {
    return false;
  }
  // Source: RFC 8536, section 3.1 (the magic of a zone's file)
  std::ifstream file("/usr/share/zoneinfo/" + name, std::ios::binary);
  std::string magic(4, ' ');
  return file.read(magic.data(), static_cast<std::streamsize>(magic.size())) && magic == "TZif";
}

/// A member that must be there.
template <typename Value>
Value Required(Members& members, const char* name) {
  if (members.Find(name) == nullptr) throw MalformedRecording(members.Path(name) + " is missing");
  Value value{};
  members.Read(name, value);
  return value;
}

std::string Text(const Json& value, const char* name) {
  if (!value.is_string()) throw MalformedRecording(std::string(name) + " must be a text");
  return value.get<std::string>();
}

Line ParseDevice(const Json& value) {
  Members members(value, "device");
  auto mac = Required<std::string>(members, "mac");
  const Json* set = members.Object("set");
  const Json* merge = members.Object("merge");
  bool is_forgotten = false;
  members.Read("forget", is_forgotten);
  members.Finish();
  if ((set != nullptr) + (merge != nullptr) + is_forgotten != 1) {
    throw MalformedRecording("device must have one of set, merge and forget");
  }
  if (set != nullptr) return SetDevice{std::move(mac), *set};
  if (merge != nullptr) return MergeDevice{std::move(mac), *merge};
  return ForgetDevice{std::move(mac)};
}

Line ParseCleanUp(const Json& value) {
  return CleanUp{Text(value, "cleanup")};
}

Line ParseClock(const Json& value) {
  const Json wrapped{{"clock", value}};
  Members members(wrapped, "");
  return SetClock{Required<time_t>(members, "clock")};
}

Line ParsePass(const Json& value) {
  Members members(value, "pass");
  RunPasses passes;
  if (members.Find("at") != nullptr) passes.at = Required<time_t>(members, "at");
  if (passes.at && members.Find("after") != nullptr) throw MalformedRecording("pass has both at and after");
  members.Read("after", passes.after);
  members.Read("repeat", passes.repeat);
  members.Finish();
  if (passes.repeat == 0) throw MalformedRecording("pass.repeat must be 1 or more");
  if (passes.at && passes.repeat != 1) throw MalformedRecording("a pass with at cannot be repeated");
  return passes;
}

Line ParseSubscribe(const Json& value) {
  Members members(value, "subscribe");
  Subscribe subscribe{.topic = Required<std::string>(members, "topic"),
                      .connection = Required<std::string>(members, "connection"),
                      .request = nullptr};
  if (const Json* request = members.Find("request")) subscribe.request = *request;
  members.Finish();
  return subscribe;
}

Line ParseUnsubscribe(const Json& value) {
  Members members(value, "unsubscribe");
  Unsubscribe unsubscribe{.topic = Required<std::string>(members, "topic"),
                          .connection = Required<std::string>(members, "connection"),
                          .sid = Required<std::string>(members, "sid")};
  members.Finish();
  return unsubscribe;
}

Line ParseDisconnect(const Json& value) {
  return Disconnect{Text(value, "disconnect")};
}

Line ParseSender(const Json& value) {
  if (!value.is_boolean()) throw MalformedRecording("sender must be true or false");
  return SetSender{value.get<bool>()};
}

Line ParseCall(const Json& value) {
  Members members(value, "call");
  const auto entry = Required<std::string>(members, "entry");
  if (entry == kTrafficEntry) {
    CallTraffic call{.mac = Required<std::string>(members, "mac"),
                     .interface = Required<std::string>(members, "interface")};
    members.Finish();
    return call;
  }
  if (std::find(kReportEntries.begin(), kReportEntries.end(), entry) == kReportEntries.end()) {
    throw MalformedRecording("unknown entry point " + entry);
  }
  CallReport call{.entry = entry, .request = std::nullopt};
  if (members.Find("request") != nullptr) call.request = Required<std::string>(members, "request");
  members.Finish();
  return call;
}

Line ParseStop(const Json& value) {
  Members(value, "stop").Finish();
  return Stop{};
}

struct Keyword {
  const char* name;
  Line (*parse)(const Json& value);
};

constexpr std::array<Keyword, 10> kKeywords{{{"device", ParseDevice},
                                             {"cleanup", ParseCleanUp},
                                             {"clock", ParseClock},
                                             {"pass", ParsePass},
                                             {"subscribe", ParseSubscribe},
                                             {"unsubscribe", ParseUnsubscribe},
                                             {"disconnect", ParseDisconnect},
                                             {"sender", ParseSender},
                                             {"call", ParseCall},
                                             {"stop", ParseStop}}};

}  // namespace

Header ParseHeader(const std::string& text) {
  const Json line = Parsed(text);
  Members members(line, "");
  Header header;
  if (Required<std::int32_t>(members, "recording") != kVersion) throw MalformedRecording("recording must be 1");
  header.start = Required<time_t>(members, "start");
  members.Read("timezone", header.timezone);
  members.Finish();
  if (!IsTimezone(header.timezone)) throw MalformedRecording("unknown timezone " + header.timezone);
  return header;
}

Line ParseLine(const std::string& text) {
  const Json line = Parsed(text);
  if (!line.is_object() || line.size() != 1) throw MalformedRecording("the line must be an object with one key");
  const std::string& name = line.begin().key();
  for (const Keyword& keyword : kKeywords) {
    if (name == keyword.name) return keyword.parse(line.begin().value());
  }
  throw MalformedRecording("unknown key " + name);
}

}  // namespace probe::recording
