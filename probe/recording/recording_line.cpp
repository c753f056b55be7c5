#include "probe/recording/recording_line.h"

#include <algorithm>
#include <array>
#include <utility>

#include "probe/recording/json_object_reader.h"
#include "probe/recording/timezone_name.h"
#include "probe/text/json_text.h"

namespace probe::recording {
namespace {

using Json = nlohmann::ordered_json;  // members reach the plug-in in the order of the recording

constexpr int kVersion = 1;

constexpr std::array<const char*, 4> kReportEntries{
    "get_wireless_client_report", "get_wireless_client_report_avail_list", "get_wireless_network_report",
    "get_wireless_network_report_avail_list"};

/// What a line may hold: nested as deeply as the probe lets a client's request be at the most, for it must fit. More
/// would outgrow json-c's reader on the way to the plug-in.
constexpr JsonRules kLineRules{.max_depth = 32, .allows_duplicate_members = false};

/// Reads the JSON of one line.
Json ParseJson(const std::string& text) {
  Json value;
  const auto error = ReadJson(text, kLineRules, value);
  if (!error) return value;
  switch (error->reason) {
    case JsonError::Reason::kTooDeep:
      throw MalformedRecording("nested too deeply");
    case JsonError::Reason::kDuplicateMember:
      throw MalformedRecording("duplicate member " + error->member);
    case JsonError::Reason::kNumberTooLarge:
      throw MalformedRecording("no JSON: a number is too large");
    case JsonError::Reason::kSyntax:
      break;
  }
  throw MalformedRecording("no JSON: at octet " + std::to_string(error->octet));
}

/// A member that must be there.
template <typename Value>
Value Required(JsonObjectReader& members, const char* name) {
  if (members.Find(name) == nullptr) throw MalformedRecording(members.Path(name) + " is missing");
  Value value{};
  members.Read(name, value);
  return value;
}

std::string Text(const Json& value, const char* name) {
  if (!value.is_string()) throw MalformedRecording(std::string(name) + " must be a text");
  return value.get<std::string>();
}

Line ParseDevice(Json& value) {
  JsonObjectReader members(value, "device");
  auto mac = Required<std::string>(members, "mac");
  const bool is_set = members.Object("set") != nullptr;
  const bool is_merge = members.Object("merge") != nullptr;
  bool is_forgotten = false;
  members.Read("forget", is_forgotten);
  members.RejectUnknown();
  if (is_set + is_merge + is_forgotten != 1) {
    throw MalformedRecording("device must have one of set, merge and forget");
  }
  if (is_set) return SetDevice{std::move(mac), std::move(value["set"])};
  if (is_merge) return MergeDevice{std::move(mac), std::move(value["merge"])};
  return ForgetDevice{std::move(mac)};
}

Line ParseCleanUp(Json& value) {
  return CleanUp{Text(value, "cleanup")};
}

Line ParseClock(Json& value) {
  // As a member of an object again, to be read and refused like every other number.
  const Json wrapped{{"clock", value}};
  JsonObjectReader members(wrapped, "");
  return SetClock{Required<time_t>(members, "clock")};
}

Line ParsePass(Json& value) {
  JsonObjectReader members(value, "pass");
  RunPasses passes;
  if (members.Find("at") != nullptr) passes.at = Required<time_t>(members, "at");
  if (passes.at && members.Find("after") != nullptr) throw MalformedRecording("pass has both at and after");
  members.Read("after", passes.after);
  members.Read("repeat", passes.repeat);
  members.RejectUnknown();
  if (passes.repeat == 0) throw MalformedRecording("pass.repeat must be 1 or more");
  if (passes.at && passes.repeat != 1) throw MalformedRecording("a pass with at cannot be repeated");
  return passes;
}

Line ParseSubscribe(Json& value) {
  JsonObjectReader members(value, "subscribe");
  Subscribe subscribe{.topic = Required<std::string>(members, "topic"),
                      .connection = Required<std::string>(members, "connection"),
                      .request = nullptr};
  if (const Json* request = members.Find("request")) subscribe.request = *request;
  members.RejectUnknown();
  return subscribe;
}

Line ParseUnsubscribe(Json& value) {
  JsonObjectReader members(value, "unsubscribe");
  Unsubscribe unsubscribe{.topic = Required<std::string>(members, "topic"),
                          .connection = Required<std::string>(members, "connection"),
                          .sid = Required<std::string>(members, "sid")};
  members.RejectUnknown();
  return unsubscribe;
}

Line ParseDisconnect(Json& value) {
  return Disconnect{Text(value, "disconnect")};
}

Line ParseSender(Json& value) {
  if (!value.is_boolean()) throw MalformedRecording("sender must be true or false");
  return SetSender{value.get<bool>()};
}

Line ParseCall(Json& value) {
  JsonObjectReader members(value, "call");
  const auto entry = Required<std::string>(members, "entry");
  if (entry == kTrafficEntry) {
    CallTraffic call{.mac = Required<std::string>(members, "mac"),
                     .interface = Required<std::string>(members, "interface")};
    members.RejectUnknown();
    return call;
  }
  if (std::find(kReportEntries.begin(), kReportEntries.end(), entry) == kReportEntries.end()) {
    throw MalformedRecording("unknown entry point " + entry);
  }
  CallReport call{.entry = entry, .request = std::nullopt};
  if (members.Find("request") != nullptr) call.request = Required<std::string>(members, "request");
  members.RejectUnknown();
  return call;
}

Line ParseStop(Json& value) {
  JsonObjectReader(value, "stop").RejectUnknown();
  return Stop{};
}

struct Keyword {
  const char* name;
  Line (*parse)(Json& value);  // may take parts of the value for the line
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
  const Json line = ParseJson(text);
  JsonObjectReader members(line, "");
  Header header;
  if (Required<std::int32_t>(members, "recording") != kVersion) throw MalformedRecording("recording must be 1");
  header.start = Required<time_t>(members, "start");
  members.Read("timezone", header.timezone);
  members.RejectUnknown();
  if (!IsTimezoneName(header.timezone)) throw MalformedRecording("unknown timezone " + header.timezone);
  return header;
}

Line ParseLine(const std::string& text) {
  Json line = ParseJson(text);
  if (!line.is_object() || line.size() != 1) throw MalformedRecording("the line must be an object with one key");
  const std::string& name = line.begin().key();
  for (const Keyword& keyword : kKeywords) {
    if (name == keyword.name) return keyword.parse(line.begin().value());
  }
  throw MalformedRecording("unknown key " + name);
}

}  // namespace probe::recording
