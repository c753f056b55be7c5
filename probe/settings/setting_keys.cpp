#include "probe/settings/setting_keys.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/trusted_proxies.h"
#include "probe/settings/access_groups.h"
#include "probe/settings/key_makers.h"
#include "probe/settings/log_levels.h"
#include "probe/settings/snmp_devices.h"
#include "probe/settings/stream_keys.h"
#include "probe/sources/simulated/simulated_settings.h"

namespace probe {
namespace {

constexpr std::int64_t kMaxSeed = 1'000'000'000;

template <typename Limit>
SettingKey LimitKey(std::string name, Limit ServerLimits::*limit, std::int64_t least, std::int64_t most,
                    std::string help) {
  return Number(
      "limits", std::move(name), [limit](auto& settings) -> auto& { return settings.server.limits.*limit; }, least,
      most, std::move(help));
}

SettingKey TrustedProxiesKey() {
  SettingKey key = Texts(
      "server", "trusted_proxies", [](auto& settings) -> auto& { return settings.server.trusted_proxies; },
      "Reverse proxies, as addresses or networks (\"10.0.0.0/24\"), that are believed when X-Forwarded-For names the "
      "client: limits then count the client.");
  key.expected = "a list of IP addresses and networks";
  key.accepts = [](const SettingValue& value) {
    const auto& texts = std::get<std::vector<std::string>>(value);
    return std::all_of(texts.begin(), texts.end(),
                       [](const std::string& text) { return TrustedProxies::IsNetwork(text); });
  };
  return key;
}

SettingKey ListenKey() {
  SettingKey key = Texts(
      "server", "listen", [](auto& settings) -> auto& { return settings.server.listen; },
      "Addresses to listen on. Any other than these two asks for a token and TLS.");
  key.expected = "a list of at least one IP address";
  key.accepts = [](const SettingValue& value) {
    const auto& texts = std::get<std::vector<std::string>>(value);
    return !texts.empty() && std::all_of(texts.begin(), texts.end(),
                                         [](const std::string& text) { return !CanonicalAddress(text).empty(); });
  };
  return key;
}

std::vector<SettingKey> ServerKeys() {
  const std::string table = "server";
  return {
      ListenKey(),
      Number(
          table, "port", [](auto& settings) -> auto& { return settings.server.port; }, 0, 65535,
          "TCP port to listen on. 0: any free one, which the log names."),
      Text(
          table, "token", [](auto& settings) -> auto& { return settings.server.token; },
          "Secret that clients have to give, of at least 16 octets where others can reach the probe. Empty: they need "
          "none. "
          "Only its owner may be able to read a file that holds it."),
      Text(
          table, "token_file", [](auto& settings) -> auto& { return settings.token_file; },
          "File whose only line is the token, in place of the key above. Only its owner may be able to read it."),
      Text(
          table, "tls_certificate", [](auto& settings) -> auto& { return settings.server.tls_certificate; },
          "PEM file with the server's certificate chain. Empty: no TLS."),
      Text(
          table, "tls_key", [](auto& settings) -> auto& { return settings.server.tls_key; },
          "PEM file with the private key of that certificate. Only its owner may be able to read it."),
      Texts(
          table, "allowed_hosts", [](auto& settings) -> auto& { return settings.server.allowed_hosts; },
          "Host names, besides the addresses and localhost, under which clients may call the probe."),
      Texts(
          table, "allowed_origins", [](auto& settings) -> auto& { return settings.server.allowed_origins; },
          "Origins, besides the probe's own, whose web pages may connect: \"https://noc.example.org\". With a token "
          "their first message over the websocket is to be the token."),
      TrustedProxiesKey(),
      Text(
          table, "dashboard", [](auto& settings) -> auto& { return settings.server.dashboard; },
          "Folder with the pages of the dashboard. Empty: the one that came with the probe."),
  };
}

/// The centre has no pages of foreign origins: they could not tell whose token they have before they are let in.
std::vector<SettingKey> CentreServerKeys() {
  std::vector<SettingKey> keys = ServerKeys();
  std::erase_if(keys, [](const SettingKey& key) { return key.name == "allowed_origins"; });
  return keys;
}

std::vector<SettingKey> LimitKeys() {
  constexpr std::int64_t kHour = 3600;
  constexpr std::int64_t kMebibyte = 1024 * 1024;
  return {
      LimitKey("connections", &ServerLimits::connections, 1, 100'000, "Open connections in all."),
      LimitKey("connections_per_address", &ServerLimits::connections_per_address, 1, 100'000,
               "Open connections from one address."),
      LimitKey("sids_per_connection", &ServerLimits::sids_per_connection, 1, 10'000,
               "Subscriptions of one connection, over all topics."),
      LimitKey("distinct_filters", &ServerLimits::distinct_filters, 1, 100'000,
               "Different pairs of topic and filter in all."),
      LimitKey("sid_bytes", &ServerLimits::sid_bytes, 1, 64 * 1024, "Size of one SID, in octets."),
      LimitKey("filter_bytes", &ServerLimits::filter_bytes, 64, kMebibyte,
               "Size of one subscription's filter, in octets of JSON."),
      LimitKey("message_bytes", &ServerLimits::message_bytes, 1024, 16 * kMebibyte,
               "Size of one message from a client, in octets. No more than bytes_per_second."),
      // json-c, which reads the requests of a recording again, reads no more than 32 levels.
      LimitKey("message_depth", &ServerLimits::message_depth, 8, 32,
               "Nesting of objects and arrays in one message from a client."),
      LimitKey("messages_per_second", &ServerLimits::messages_per_second, 1, 10'000,
               "Messages from one client, in the long run; a burst may be as large."),
      LimitKey(
          "pass_messages", &ServerLimits::pass_messages, 1, 10'000'000,
          "Messages that are made in one pass for all clients. What is beyond comes in turns, as with the next two."),
      LimitKey("pass_bytes", &ServerLimits::pass_bytes, 64 * 1024, 16 * 1024 * kMebibyte,
               "Octets of these messages; what clients share counts once."),
      LimitKey("pass_bytes_per_connection", &ServerLimits::pass_bytes_per_connection, 64 * 1024, 16 * 1024 * kMebibyte,
               "Octets of those for one client; one message always goes, however large. No more than pass_bytes."),
      LimitKey(
          "bytes_per_second", &ServerLimits::bytes_per_second, 1024, 1024 * kMebibyte,
          "Octets of messages from one client, in the long run; a burst may be as large, and its last message larger."),
      LimitKey("queue_messages", &ServerLimits::queue_messages, 1, 10'000, "Unsent messages kept for one client."),
      LimitKey(
          "queue_bytes", &ServerLimits::queue_bytes, 64 * 1024, 1024 * kMebibyte,
          "Octets of unsent messages kept for one client; one message always fits. No more than all_queues_bytes."),
      LimitKey("all_queues_bytes", &ServerLimits::all_queues_bytes, kMebibyte, 64 * 1024 * kMebibyte,
               "Octets of unsent messages kept for all clients; the fullest queue loses first."),
      LimitKey("stuck_after_seconds", &ServerLimits::stuck_after, 1, kHour,
               "A client that takes nothing for so long is disconnected. No more than queue_seconds."),
      LimitKey("queue_seconds", &ServerLimits::queue_for, 1, kHour,
               "A client for which something has been waiting for so long without a break is disconnected."),
      LimitKey("ping_after_seconds", &ServerLimits::ping_after, 1, kHour,
               "Silence after which a client is asked for a sign of life."),
      LimitKey("hang_up_after_seconds", &ServerLimits::hang_up_after, 1, kHour,
               "Silence after which a client is gone. More than ping_after_seconds."),
  };
}

/// The centre has no passes.
std::vector<SettingKey> CentreLimitKeys() {
  std::vector<SettingKey> keys = LimitKeys();
  std::erase_if(keys, [](const SettingKey& key) { return key.name.starts_with("pass_"); });
  return keys;
}

SettingKey LogLevelKey() {
  SettingKey key{"logging",
                 "level",
                 "How much to log: \"debug\" (dozens of lines an interface), \"info\", \"warning\" or \"error\".",
                 LevelsExpected(),
                 {},
                 {},
                 {}};
  key.accepts = [](const SettingValue& value) { return LevelNamed(std::get<std::string>(value)).has_value(); };
  key.read = [](const Settings& settings) -> SettingValue { return std::string(log::LevelName(settings.log_level)); };
  key.assign = [](Settings& settings, const SettingValue& value) {
    settings.log_level = LevelNamed(std::get<std::string>(value)).value_or(settings.log_level);
  };
  return key;
}

std::vector<SettingKey> ProbeKeys() {
  const std::string this_machine = "sources.this_machine";
  return {
      LogLevelKey(),
      Text(
          "plugin", "path", [](auto& settings) -> auto& { return settings.plugin_path; },
          "The plug-in's file. Empty: the one that came with the probe."),
      KeyOf<bool>(
          this_machine, "enabled", [](auto& settings) -> auto& { return settings.this_machine.enabled; },
          "true or false", "Whether this machine itself is one of the devices."),
      Number(
          this_machine, "refresh_seconds", [](auto& settings) -> auto& { return settings.this_machine.refresh; }, 1, 60,
          "Time between two readings of its counters."),
      Text(
          this_machine, "name", [](auto& settings) -> auto& { return settings.this_machine.name; },
          "Its device name. Empty: the host name."),
  };
}

SettingKey JournalEnabledKey() {
  SettingKey key{"journal",
                 "enabled",
                 "Whether what devices report is written down, so that a restart loses nothing. Unless said otherwise "
                 "not with a simulated network.",
                 "true or false",
                 AcceptAnything,
                 {},
                 {}};
  key.read = [](const Settings& settings) -> SettingValue { return settings.journal.enabled.value_or(true); };
  key.assign = [](Settings& settings, const SettingValue& value) { settings.journal.enabled = std::get<bool>(value); };
  return key;
}

SettingKey WarmStartKey() {
  SettingKey key{
      "journal", "warm_start", "Whether the journal is replayed at the start.", "one of \"on\", \"off\"", {}, {}, {}};
  key.accepts = [](const SettingValue& value) {
    const auto& text = std::get<std::string>(value);
    return text == "on" || text == "off";
  };
  key.read = [](const Settings& settings) -> SettingValue {
    return std::string(settings.journal.is_warm_start ? "on" : "off");
  };
  key.assign = [](Settings& settings, const SettingValue& value) {
    settings.journal.is_warm_start = std::get<std::string>(value) == "on";
  };
  return key;
}

std::vector<SettingKey> JournalKeys() {
  constexpr std::int64_t kMebibyte = 1024 * 1024;
  constexpr std::int64_t kMaxDays = 3650;
  constexpr std::int64_t kMaxLimit = 24 * 3600;
  const std::string table = "journal";
  return {
      JournalEnabledKey(),
      Text(
          table, "state_directory", [](auto& settings) -> auto& { return settings.journal.state_directory; },
          "Folder in which it lies, in a folder of its own. Where the default cannot be written, "
          "$XDG_STATE_HOME/vexora."),
      Number(
          table, "days", [](auto& settings) -> auto& { return settings.journal.days; }, 1, kMaxDays,
          "Days that are kept. No chart and no report goes further back than 31."),
      Number(
          table, "bytes", [](auto& settings) -> auto& { return settings.journal.bytes; }, kMebibyte,
          1024 * 1024 * kMebibyte, "Octets that are kept, if they are fewer; the oldest go first."),
      WarmStartKey(),
      Number(
          table, "warm_start_seconds", [](auto& settings) -> auto& { return settings.journal.warm_start_limit; }, 1,
          kMaxLimit, "What takes longer than this to be replayed is left out, oldest first."),
  };
}

std::vector<SettingKey> SimulatedKeys() {
  const std::string simulated = "sources.simulated";
  return {
      KeyOf<bool>(
          simulated, "enabled", [](auto& settings) -> auto& { return settings.simulated.enabled; }, "true or false",
          "Whether there is a simulated network, to see the probe at work without devices."),
      Number(
          simulated, "refresh_seconds", [](auto& settings) -> auto& { return settings.simulated.refresh; }, 1, 60,
          "Time between two of its states."),
      Number(
          simulated, "seed", [](auto& settings) -> auto& { return settings.simulated.network.seed; }, 0, kMaxSeed,
          "Another seed is another company."),
      Number(
          simulated, "devices", [](auto& settings) -> auto& { return settings.simulated.network.devices; }, 0,
          SimulatedSettings::kMaxDevices, "Routers, switches and access points. 0: a small company's nine."),
      Number(
          simulated, "clients", [](auto& settings) -> auto& { return settings.simulated.network.clients; }, 0,
          SimulatedSettings::kMaxClients, "Wireless clients, not all of them in the house. 0: what suits the devices."),
  };
}

std::string Quoted(const std::string& text) {
  return '"' + text + '"';  // defaults hold nothing that TOML wants escaped
}

/// A default as the configuration file writes it.
struct Written {
  std::string operator()(bool flag) const { return flag ? "true" : "false"; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(const std::string& text) const { return Quoted(text); }
  std::string operator()(const std::vector<std::string>& texts) const {
    std::string list;
    for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + Quoted(text);
    return "[" + list + "]";
  }
};

}  // namespace

bool TakesEffectAtReload(const SettingKey& key) {
  const std::string path = key.Path();
  for (const char* const one :
       {"logging.level", "server.token", "server.token_file", "server.tls_certificate", "server.tls_key",
        "server.allowed_hosts", "server.allowed_origins", "server.trusted_proxies"}) {
    if (path == one) return true;
  }
  return false;
}

const std::vector<SettingKey>& SettingKeys(Program program) {
  static const auto join = [](std::initializer_list<std::vector<SettingKey>> lists) {
    std::vector<SettingKey> all;
    for (std::vector<SettingKey> more : lists) std::move(more.begin(), more.end(), std::back_inserter(all));
    return all;
  };
  static const auto of_probe =
      join({ServerKeys(), LimitKeys(), JournalKeys(), UplinkKeys(), ProbeKeys(), SimulatedKeys()});
  static const auto of_centre = join({CentreServerKeys(), CentreLimitKeys(), StreamKeys(), {LogLevelKey()}});
  return program == Program::kCentre ? of_centre : of_probe;
}

std::string DescribeSettings(Program program) {
  const Settings defaults;
  std::string text;
  std::string table;
  for (const SettingKey& key : SettingKeys(program)) {
    if (key.table != table) {
      if (table == "logging") text += "\n" + DescribeLogLevels();
      text += (table.empty() ? "[" : "\n[") + key.table + "]\n";
      table = key.table;
    }
    text += "\n# " + key.help + "\n# (" + key.expected + ")\n";
    // As a comment, so that a file made of this text follows the defaults of later versions.
    text += "#" + key.name + " = " + std::visit(Written{}, key.read(defaults)) + "\n";
  }
  text += "\n" + (program == Program::kCentre ? DescribeAccessGroups() : DescribeSnmpDevices());
  return text;
}

}  // namespace probe
