#include "probe/recording/device_line_reader.h"

#include <simdjson.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/device_records.h"
#include "probe/text/json_text.h"

namespace probe::recording {
namespace {

namespace records = vexora_probe::models::controller;
using simdjson::dom::element;

/// Objects and arrays within one another that a line may have; the credential stands in three of them.
constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kCredentialDepth = 3;

// Each of these fills a place from a value, and leaves it as it was for null. False: the line is not for this reader.

bool Take(element value, std::string& text) {
  std::string_view found;
  if (value.is_null()) return true;
  if (value.get(found) != simdjson::SUCCESS) return false;
  text = found;
  return true;
}

bool Take(element value, bool& flag) {
  return value.is_null() || value.get(flag) == simdjson::SUCCESS;
}

template <typename Number>
requires std::is_integral_v<Number>
bool Take(element value, Number& number) {
  if (value.is_null()) return true;
  std::conditional_t<std::is_unsigned_v<Number>, std::uint64_t, std::int64_t> found = 0;
  if (value.get(found) != simdjson::SUCCESS || !std::in_range<Number>(found)) return false;
  number = static_cast<Number>(found);
  return true;
}

template <typename Enumeration>
requires std::is_enum_v<Enumeration>
bool Take(element value, Enumeration& enumerator) {
  auto number = static_cast<std::int32_t>(enumerator);
  if (!Take(value, number)) return false;
  enumerator = static_cast<Enumeration>(number);
  return true;
}

/// The members of one object, which are taken by name, each once.
class Members {
 public:
  explicit Members(element value) { is_object_ = value.get(object_) == simdjson::SUCCESS; }

  /// Has `take(name, value)` look at each member; false ends that.
  template <typename TakeMember>
  bool Each(TakeMember take) {
    if (!is_object_) return false;
    for (const auto member : object_) {
      if (!take(member.key, member.value)) return false;
    }
    return true;
  }

  /// Notes that a member, which has a number below 32, was there. False when it was there before.
  bool Note(unsigned number) {
    const std::uint32_t bit = 1U << number;
    const bool is_first = (seen_ & bit) == 0;
    seen_ |= bit;
    return is_first;
  }

 private:
  simdjson::dom::object object_;
  bool is_object_ = false;
  std::uint32_t seen_ = 0;
};

/// Fills an object's places: `fields` are pairs of a name and a place.
template <typename... Fields>
bool Fill(element value, Fields... fields) {
  Members members(value);
  return members.Each([&](std::string_view name, element member) {
    unsigned number = 0;
    bool is_taken = false;
    const auto offer = [&](const auto& field) {
      if (name == field.first) is_taken = members.Note(number) && field.second(member);
      ++number;
      return name == field.first;
    };
    return (offer(fields) || ...) && is_taken;
  });
}

/// A field whose value goes into `place` as it is.
template <typename Place>
auto To(std::string_view name, Place& place) {
  return std::pair(name, [&place](element value) { return Take(value, place); });
}

/// A field that `take` reads, unless its value is null.
template <typename TakeValue>
auto By(std::string_view name, TakeValue take) {
  return std::pair(name, [take](element value) { return value.is_null() || take(value); });
}

template <typename Record, typename Read>
bool FillRecords(element value, std::map<std::string, Record>& filled, Read read) {
  return Members(value).Each([&](std::string_view key, element member) {
    const auto [record, is_new] = filled.try_emplace(std::string(key));
    return is_new && read(member, record->second);
  });
}

template <typename List, typename Read>
bool FillList(element value, List& filled, Read read) {
  simdjson::dom::array array;
  if (value.get(array) != simdjson::SUCCESS) return false;
  for (const element each : array) {
    if (!read(each, filled.emplace_back())) return false;
  }
  return true;
}

bool FromHex(element value, std::string& octets) {
  std::string_view hex;
  if (value.get(hex) != simdjson::SUCCESS || hex.size() % 2 != 0) return false;
  const auto digit = [](char text) {
    if (text >= '0' && text <= '9') return text - '0';
    if (text >= 'a' && text <= 'f') return text - 'a' + 10;
    return text >= 'A' && text <= 'F' ? text - 'A' + 10 : -1;
  };
  octets.clear();
  for (std::size_t index = 0; index < hex.size(); index += 2) {
    const int high = digit(hex[index]);
    const int low = digit(hex[index + 1]);
    if (high < 0 || low < 0) return false;
    octets += static_cast<char>(high * 16 + low);
  }
  return true;
}

/// An SSID, as text or as its octets in hex, but not both.
class Ssid {
 public:
  explicit Ssid(std::string& ssid) : ssid_(ssid) {}

  auto Text() {
    return By("ssid", [this](element value) { return IsFirst() && Take(value, ssid_); });
  }
  auto Hex() {
    return By("ssid_hex", [this](element value) { return IsFirst() && FromHex(value, ssid_); });
  }

 private:
  bool IsFirst() { return !std::exchange(is_there_, true); }

  std::string& ssid_;
  bool is_there_ = false;
};

bool ReadTraffic(element value, std::shared_ptr<const records::TrafficStats>& traffic) {
  auto statistics = std::make_shared<records::TrafficStats>();
  if (!Fill(value, To("if_index", statistics->if_index), To("in_bytes", statistics->in_bytes),
            To("out_bytes", statistics->out_bytes))) {
    return false;
  }
  traffic = std::move(statistics);
  return true;
}

auto Traffic(std::shared_ptr<const records::TrafficStats>& traffic) {
  return By("traffic", [&traffic](element value) { return ReadTraffic(value, traffic); });
}

bool ReadInterface(element value, std::shared_ptr<const records::InterfaceState>& interface) {
  if (value.is_null()) return true;  // the device tells no more of it than its name
  auto state = std::make_shared<records::InterfaceState>();
  if (!Fill(value, To("oper_status", state->oper_status), Traffic(state->traffic))) return false;
  interface = std::move(state);
  return true;
}

bool ReadClient(element value, records::AssocClientState& client) {
  return Fill(value, To("mac", client.mac), To("hostname", client.hostname), To("mode", client.mode),
              To("data_rate", client.data_rate), To("in_bytes", client.in_bytes), To("out_bytes", client.out_bytes));
}

bool ReadSsidInterface(element value, records::SSIDIfState& interface) {
  Ssid ssid(interface.ssid);
  std::optional<std::int32_t> clients;
  const bool is_read = Fill(value, ssid.Text(), ssid.Hex(), To("radio", interface.radio), Traffic(interface.traffic),
                            By("clients", [&](element list) { return FillList(list, interface.clients, &ReadClient); }),
                            By("client_count", [&](element count) { return Take(count, clients.emplace()); }));
  // Unless it says otherwise, a device counts the clients that it lists.
  interface.client_count = clients.value_or(static_cast<std::int32_t>(interface.clients.size()));
  return is_read;
}

bool ReadNeighbour(element value, records::NeighboringAP& neighbour) {
  Ssid ssid(neighbour.ssid);
  bool is_trusted = false;
  const bool is_read =
      Fill(value, To("mac", neighbour.mac), ssid.Text(), ssid.Hex(), To("trusted", is_trusted),
           To("band", neighbour.band), To("channel", neighbour.channel), To("signal", neighbour.signal));
  neighbour.trusted = is_trusted ? 1 : 0;
  return is_read;
}

bool ReadRadio(element value, records::RadioIfState& radio) {
  return Fill(value, To("band", radio.band));
}

bool ReadPortalUser(element value, records::PortalUser& user) {
  return Fill(value, To("username", user.username), To("hostname", user.hostname), To("in_bytes", user.in_bytes),
              To("out_bytes", user.out_bytes));
}

bool ReadConfiguration(element value, records::SSIDCfg& configuration) {
  return Fill(value, To("security_mode", configuration.security_mode), To("guest", configuration.guest));
}

/// Unlike elsewhere, null is not the same as an absent member here: nothing is known of the device then.
bool ReadBasicInfo(element value, std::optional<records::BasicInfo>& basic_info) {
  if (value.is_null()) {
    basic_info.reset();
    return true;
  }
  return Fill(value, To("hostname", basic_info->hostname), To("ip", basic_info->ip), To("type", basic_info->type));
}

bool ReadPlatformInfo(element value, std::optional<records::PlatformInfo>& platform_info) {
  platform_info.emplace();
  return Fill(value, To("model", platform_info->model), To("version", platform_info->version));
}

/// As text in the form that `ParseLine` gives it.
bool ReadCredential(element value, std::string& credential) {
  nlohmann::ordered_json object;
  const JsonRules rules{.max_depth = kMaxDepth - kCredentialDepth, .allows_duplicate_members = false};
  if (ReadJson(simdjson::minify(value), rules, object) || !object.is_object()) return false;
  credential = object.dump();
  return true;
}

bool ReadState(element value, DeviceSnapshot& snapshot) {
  const auto time = [](std::optional<time_t>& place) {
    return [&place](element moment) { return Take(moment, place.emplace()); };
  };
  const auto each = [](auto& filled, auto read) {
    return [&filled, read](element object) { return FillRecords(object, filled, read); };
  };
  const bool is_read = Fill(
      value, To("online", snapshot.online), To("known", snapshot.known), To("driver", snapshot.driver),
      To("wireless", snapshot.is_wireless), By("sample_time", time(snapshot.sample_time)),
      By("polling_time", time(snapshot.polling_time)), By("interfaces", each(snapshot.interfaces, &ReadInterface)),
      std::pair(std::string_view("basic_info"), [&](element info) { return ReadBasicInfo(info, snapshot.basic_info); }),
      By("platform_info", [&](element info) { return ReadPlatformInfo(info, snapshot.platform_info); }),
      By("ssid_interfaces", each(snapshot.ssid_interfaces, &ReadSsidInterface)),
      By("radios", each(snapshot.radios, &ReadRadio)), By("portal_users", each(snapshot.portal_users, &ReadPortalUser)),
      By("neighbours", [&](element list) { return FillList(list, snapshot.neighbours, &ReadNeighbour); }),
      By("ssid_config", each(snapshot.ssid_config, &ReadConfiguration)), To("cpu", snapshot.cpu),
      To("uptime", snapshot.uptime), To("health", snapshot.health_level),
      By("notifications",
         [&](element counts) {
           auto& notifications = snapshot.notifications;
           return Fill(counts, To("info", notifications.info), To("warning", notifications.warning),
                       To("alert", notifications.alert));
         }),
      By("credential", [&](element object) { return ReadCredential(object, snapshot.credential_json); }));
  // the SSID of a configuration is the part of its key in front of the last "@"
  for (auto& [key, configuration] : snapshot.ssid_config) configuration.name = key.substr(0, key.rfind('@'));
  return is_read;
}

/// Whether a line may hold what the parser takes otherwise than `ParseLine`: -0, which is a whole number to it, and
/// escaped surrogates, which it does not pair up in every case.
bool IsUnusual(std::string_view line) {
  for (auto sign = line.find("-0"); sign != std::string_view::npos; sign = line.find("-0", sign + 1)) {
    constexpr std::string_view kBeforeNumber = ":,[ \t\n\r";
    if (sign == 0 || kBeforeNumber.find(line[sign - 1]) != std::string_view::npos) return true;
  }
  return line.find("\\ud") != std::string_view::npos || line.find("\\uD") != std::string_view::npos;
}

}  // namespace

class DeviceLineReader::Parser : public simdjson::dom::parser {};

DeviceLineReader::DeviceLineReader() : parser_(std::make_unique<Parser>()) {}

DeviceLineReader::~DeviceLineReader() = default;

std::optional<DeviceLine> DeviceLineReader::Read(const std::string& line) {
  constexpr std::string_view kBegin = R"({"device")";
  if (!line.starts_with(kBegin) || IsUnusual(line)) return std::nullopt;
  element root;
  if (parser_->parse(line).get(root) != simdjson::SUCCESS) return std::nullopt;
  DeviceLine device;
  bool has_mac = false;
  bool has_state = false;
  const bool is_read = Fill(root, By("device", [&](element value) {
                              return Fill(value,
                                          By("mac",
                                             [&](element mac) {
                                               has_mac = true;
                                               return Take(mac, device.mac);
                                             }),
                                          By("set", [&](element state) {
                                            has_state = true;
                                            return ReadState(state, device.snapshot);
                                          }));
                            }));
  if (!is_read || !has_mac || !has_state) return std::nullopt;
  return device;
}

}  // namespace probe::recording
