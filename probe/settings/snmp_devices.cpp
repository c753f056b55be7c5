#include "probe/settings/snmp_devices.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "platform/utilities/text.h"
#include "probe/server/net/ip_address.h"
#include "probe/settings/secret_file.h"
#include "probe/settings/setting_keys.h"
#include "probe/settings/settings.h"
#include "probe/settings/toml_values.h"
#include "probe/text/nearest_word.h"

namespace probe {
namespace {

using snmp::AuthProtocol;
using snmp::DeviceSettings;
using snmp::PrivacyProtocol;
using snmp::Version;

constexpr std::size_t kMaxDevices = 5'000;
constexpr std::size_t kLeastPassphrase = 8;  // RFC 3414, section 11.2

/// One table of the list while it is read.
struct Draft {
  DeviceSettings device;
  std::string community_file;
  std::string auth_key_file;
  std::string privacy_key_file;
};

/// One key of such a table.
struct DeviceKey {
  const char* name;
  const char* help;
  std::string expected;
  std::function<bool(Draft&, const std::string&)> assign;  ///< False for a text that it does not accept.
};

/// A key whose text is taken as it is.
template <typename Member>
DeviceKey TextKey(const char* name, const char* help, Member member) {
  return {name, help, "a text", [member](Draft& draft, const std::string& text) {
            member(draft) = text;
            return true;
          }};
}

/// A key whose text is one of a few names.
template <typename Value, typename Member>
DeviceKey Choice(const char* name, const char* help, std::vector<std::pair<std::string, Value>> choices,
                 Member member) {
  std::string expected = "one of ";
  for (const auto& choice : choices) expected += (choice == choices.front() ? "\"" : ", \"") + choice.first + '"';
  return {name, help, expected, [choices = std::move(choices), member](Draft& draft, const std::string& text) {
            const auto found =
                std::find_if(choices.begin(), choices.end(), [&](const auto& choice) { return choice.first == text; });
            if (found == choices.end()) return false;
            member(draft) = found->second;
            return true;
          }};
}

std::optional<std::uint16_t> PortIn(const std::string& text) {
  constexpr std::size_t kDigits = 5;
  constexpr unsigned long kMaxPort = 65535;
  if (text.empty() || text.size() > kDigits || text.find_first_not_of("0123456789") != std::string::npos) return {};
  const unsigned long number = std::stoul(text);
  if (number == 0 || number > kMaxPort) return {};
  return static_cast<std::uint16_t>(number);
}

bool IsHostName(const std::string& text) {
  constexpr std::size_t kMaxLength = 253;  // RFC 1035, section 2.3.4
  return !text.empty() && text.size() <= kMaxLength && text.front() != '-' &&
         text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._") ==
             std::string::npos;
}

/// "192.0.2.1", "192.0.2.1:161", "switch.example.org:161", "2001:db8::1", "[2001:db8::1]:161".
bool AssignAddress(Draft& draft, const std::string& text) {
  std::string host = text;
  std::string port;
  const auto colons = std::count(text.begin(), text.end(), ':');
  if (text.starts_with('[')) {
    const std::size_t end = text.find(']');
    if (end == std::string::npos) return false;
    host = text.substr(1, end - 1);
    port = text.substr(end + 1);
    if (host.find(':') == std::string::npos || (!port.empty() && port.front() != ':')) return false;
  } else if (colons == 1) {
    host = text.substr(0, text.find(':'));
    port = text.substr(text.find(':'));
  }
  // An IPv6 address may have a zone: "fe80::1%eth0".
  const bool is_ipv6 = !CanonicalAddress(host.substr(0, host.find('%'))).empty() && host.find(':') != std::string::npos;
  if (!is_ipv6 && !IsHostName(host)) return false;
  draft.device.address = host;
  if (port.empty()) return true;
  const auto number = PortIn(port.substr(1));
  if (number) draft.device.port = *number;
  return number.has_value();
}

bool AssignMac(Draft& draft, const std::string& text) {
  constexpr std::size_t kLength = 17;
  const std::string mac = format_macaddress(text);
  const bool is_mac =
      mac.size() == kLength && mac[2] == ':' && mac.find_first_not_of("0123456789ABCDEF:") == std::string::npos;
  if (is_mac || text.empty()) draft.device.mac = text.empty() ? text : mac;
  return is_mac || text.empty();
}

std::vector<DeviceKey> MakeDeviceKeys() {
  return {
      {"address",
       "Host name, IPv4 or IPv6 address. With another UDP port than 161: \"192.0.2.1:1161\", \"[2001:db8::1]:1161\".",
       "a host name or IP address, with or without a port", AssignAddress},
      Choice<Version>(
          "version", "Version of SNMP. Default: \"2c\".",
          {{"1", Version::k1}, {"2c", Version::k2c}, {"3", Version::k3}},
          [](Draft & draft) -> auto& { return draft.device.version; }),
      TextKey(
          "community", "The device's read community; versions 1 and 2c. Whoever can read this file knows it.",
          [](Draft & draft) -> auto& { return draft.device.community; }),
      TextKey(
          "community_file", "File whose only line is the community, in place of the key above.",
          [](Draft & draft) -> auto& { return draft.community_file; }),
      TextKey(
          "user", "Version 3: the user.", [](Draft & draft) -> auto& { return draft.device.user; }),
      Choice<AuthProtocol>(
          "auth", "Version 3: how the user is authenticated. Default: not at all.",
          {{"sha", AuthProtocol::kSha},
           {"sha224", AuthProtocol::kSha224},
           {"sha256", AuthProtocol::kSha256},
           {"sha384", AuthProtocol::kSha384},
           {"sha512", AuthProtocol::kSha512},
           {"md5", AuthProtocol::kMd5}},
          [](Draft & draft) -> auto& { return draft.device.auth; }),
      TextKey(
          "auth_key", "Its passphrase, of at least eight characters.",
          [](Draft & draft) -> auto& { return draft.device.auth_key; }),
      TextKey(
          "auth_key_file", "File whose only line is that passphrase.",
          [](Draft & draft) -> auto& { return draft.auth_key_file; }),
      Choice<PrivacyProtocol>(
          "privacy", "Version 3: how messages are encrypted. Default: not at all.",
          {{"aes", PrivacyProtocol::kAes}, {"des", PrivacyProtocol::kDes}},
          [](Draft & draft) -> auto& { return draft.device.privacy; }),
      TextKey(
          "privacy_key", "Its passphrase, of at least eight characters.",
          [](Draft & draft) -> auto& { return draft.device.privacy_key; }),
      TextKey(
          "privacy_key_file", "File whose only line is that passphrase.",
          [](Draft & draft) -> auto& { return draft.privacy_key_file; }),
      TextKey(
          "name", "Its device name. Default: what the device calls itself.",
          [](Draft & draft) -> auto& { return draft.device.name; }),
      TextKey(
          "profile", "Name of the profile that it is read with. Default: recognised.",
          [](Draft & draft) -> auto& { return draft.device.profile; }),
      {"mac", "The MAC that is its id in the probe. Default: found on the device, as docs/snmp.md says.",
       "a MAC address, as \"02:fc:00:00:00:01\"", AssignMac},
  };
}

const std::vector<DeviceKey>& DeviceKeys() {
  static const std::vector<DeviceKey> keys = MakeDeviceKeys();
  return keys;
}

constexpr const char* kInterval = "interval_seconds";
constexpr std::int64_t kLeastInterval = 5;
constexpr std::int64_t kMaxInterval = 3600;

std::string IntervalExpected() {
  return "a whole number from " + std::to_string(kLeastInterval) + " to " + std::to_string(kMaxInterval);
}

/// A hint for a name that is not known: the key that was probably meant.
std::string KeyHint(std::string_view name) {
  std::vector<std::string> names{kInterval};
  for (const DeviceKey& key : DeviceKeys()) names.emplace_back(key.name);
  return DidYouMean(name, names);
}

/// Reads one table of the list.
class DeviceReader {
 public:
  DeviceReader(const toml::table& table, std::string path, SettingsErrors& errors)
      : table_(table), path_(std::move(path)), table_line_(table.source().begin.line), errors_(errors) {}

  /// The device; nothing when there was an error.
  std::optional<DeviceSettings> Read() {
    for (const auto& [name, node] : table_) Value(std::string(name.str()), node, name.source().begin.line);
    if (draft_.device.address.empty() && !lines_.contains("address")) Error("address", "must be given");
    Secret("community", draft_.community_file, draft_.device.community);
    Secret("auth_key", draft_.auth_key_file, draft_.device.auth_key);
    Secret("privacy_key", draft_.privacy_key_file, draft_.device.privacy_key);
    if (!has_error_) CheckVersion();
    draft_.device.defined_at = errors_.Place(table_line_);
    if (has_error_) return std::nullopt;
    return draft_.device;
  }

  /// Notes that the id is that of another device as well, which stands at `place`.
  void RefuseMac(const std::string& place) { Error("mac", "is that of the device at " + place); }

 private:
  void Error(const std::string& key, const std::string& what) {
    errors_.Add(LineOf(key), path_ + "." + key, what);
    has_error_ = true;
  }

  /// The line of a key; of the table, if it does not hold it.
  std::size_t LineOf(const std::string& key) const {
    const auto line = lines_.find(key);
    return line == lines_.end() ? table_line_ : line->second;
  }

  void Value(const std::string& name, const toml::node& node, std::size_t line) {
    lines_[name] = line;
    if (name == kInterval) {
      const auto seconds = node.is_integer() ? node.ref<std::int64_t>() : 0;
      if (seconds < kLeastInterval || seconds > kMaxInterval) return Error(name, "must be " + IntervalExpected());
      draft_.device.interval = std::chrono::seconds(seconds);
      return;
    }
    const auto key =
        std::find_if(DeviceKeys().begin(), DeviceKeys().end(), [&](const DeviceKey& one) { return one.name == name; });
    if (key == DeviceKeys().end()) return Error(name, "there is no such key" + KeyHint(name));
    // The text is not repeated: it may be a secret.
    if (!node.is_string() || !key->assign(draft_, node.ref<std::string>())) Error(name, "must be " + key->expected);
  }

  /// Takes a secret from its file, if one is named.
  void Secret(const std::string& key, const std::string& named, std::string& secret) {
    if (named.empty()) return;
    const std::string file_key = key + "_file";
    if (!secret.empty()) return Error(file_key, "must not be given together with " + key);
    const NamedFile file = FileNamed(named);
    if (!errors_.NoteFile(LineOf(file_key), path_ + "." + file_key, file)) {
      // An error like any other, unless credentials need not be there.
      has_error_ = has_error_ || !errors_.are_credentials_optional();
      secret = kUncheckedSecret;
      return;
    }
    SecretLine line = ReadSecretLine(file.path, file.is_credential);
    if (!line.error.empty()) return Error(file_key, line.error);
    secret = std::move(line.text);
    if (secret.empty()) Error(file_key, "nothing can be read from \"" + file.path + "\"");
  }

  /// Keys of another version would be without effect, and whoever wrote them expects one.
  void Refuse(std::initializer_list<const char*> keys, const std::string& why) {
    for (const char* const key : keys) {
      if (lines_.contains(key)) Error(key, why);
    }
  }

  void CheckVersion() {
    if (draft_.device.version != Version::k3) {
      Refuse({"user", "auth", "auth_key", "auth_key_file", "privacy", "privacy_key", "privacy_key_file"},
             R"(must be given with version = "3" only)");
      if (draft_.device.community.empty()) Error("community", "must be given, or community_file");
      return;
    }
    Refuse({"community", "community_file"}, R"(must not be given with version = "3")");
    if (draft_.device.user.empty()) Error("user", R"(must be given with version = "3")");
    CheckPassphrase("auth", draft_.device.auth != AuthProtocol::kNone, draft_.device.auth_key);
    CheckPassphrase("privacy", draft_.device.privacy != PrivacyProtocol::kNone, draft_.device.privacy_key);
    if (draft_.device.privacy != PrivacyProtocol::kNone && draft_.device.auth == AuthProtocol::kNone) {
      Error("privacy", "must be given together with auth");
    }
  }

  void CheckPassphrase(const std::string& protocol, bool is_used, const std::string& passphrase) {
    const std::string key = protocol + "_key";
    const std::string given = lines_.contains(key + "_file") ? key + "_file" : key;
    if (!is_used && !passphrase.empty()) return Error(given, "must be given together with " + protocol);
    if (is_used && passphrase.empty())
      return Error(protocol, "must be given together with " + key + " or " + key + "_file");
    if (is_used && passphrase.size() < kLeastPassphrase) {
      Error(given, "must be a passphrase of at least " + std::to_string(kLeastPassphrase) + " characters");
    }
  }

  const toml::table& table_;
  const std::string path_;
  const std::size_t table_line_;
  SettingsErrors& errors_;
  Draft draft_;
  std::map<std::string, std::size_t> lines_;  // of the keys that the table holds
  bool has_error_ = false;
};

}  // namespace

void ReadSnmpDevices(const toml::node& list, SettingsErrors& errors, std::vector<DeviceSettings>& devices) {
  const toml::array* const tables = list.as_array();
  const std::size_t line = list.source().begin.line;
  if (tables == nullptr || !tables->is_homogeneous(toml::node_type::table)) {
    errors.Add(line, kSnmpDevices, std::string("must be a list of tables, each begun by [[") + kSnmpDevices + "]]");
    return;
  }
  if (devices.size() + tables->size() > kMaxDevices) {
    errors.Add(line, kSnmpDevices, "must hold at most " + std::to_string(kMaxDevices) + " devices");
    return;
  }
  std::map<std::pair<std::string, std::uint16_t>, std::string> places;  // of each address
  std::map<std::string, std::string> mac_places;
  for (const DeviceSettings& device : devices) {
    places.try_emplace({device.address, device.port}, device.defined_at);
    if (!device.mac.empty()) mac_places.try_emplace(device.mac, device.defined_at);
  }
  for (std::size_t i = 0; i < tables->size(); ++i) {
    const toml::table& table = *tables->get(i)->as_table();
    DeviceReader reader(table, kSnmpDevices, errors);
    auto device = reader.Read();
    if (!device) continue;
    const auto [place, is_new] = places.try_emplace({device->address, device->port}, device->defined_at);
    if (!is_new) {
      errors.Add(table.source().begin.line, kSnmpDevices + std::string(".address"),
                 "is that of the device at " + place->second);
      continue;
    }
    if (!device->mac.empty()) {
      const auto [mac, is_new_mac] = mac_places.try_emplace(device->mac, device->defined_at);
      if (!is_new_mac) reader.RefuseMac(mac->second);
    }
    devices.push_back(*std::move(device));
  }
}

std::string DescribeSnmpDevices() {
  std::string text =
      "# Devices that answer SNMP, each in a table of its own:\n"
      "#\n"
      "#   [[sources.snmp.devices]]\n"
      "#   address = \"192.0.2.1\"\n"
      "#   community = \"public\"\n"
      "#\n"
      "# The keys of such a table:\n";
  for (const DeviceKey& key : DeviceKeys()) {
    text += std::string("#\n# ") + key.name + ": " + key.help + "\n# (" + key.expected + ")\n";
  }
  text += std::string("#\n# ") + kInterval + ": Time between two polls. Default: 30.\n# (" + IntervalExpected() + ")\n";
  return text;
}

}  // namespace probe
