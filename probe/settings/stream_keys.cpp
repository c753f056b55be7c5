#include "probe/settings/stream_keys.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "probe/settings/key_makers.h"
#include "probe/uplink/uplink_settings.h"

namespace probe {
namespace {

/// `member` gives the reference to the list of servers.
template <typename Member>
SettingKey ServersKey(std::string table, Member member, std::string help) {
  SettingKey key = Texts(std::move(table), "servers", member, std::move(help));
  key.expected = "a list of URLs with nats:// or tls://";
  key.accepts = [](const SettingValue& value) {
    const auto& texts = std::get<std::vector<std::string>>(value);
    return std::all_of(texts.begin(), texts.end(), [](const std::string& text) {
      const std::string_view scheme = text.starts_with("tls://") ? "tls://" : "nats://";
      return text.starts_with(scheme) && text.size() > scheme.size() && text.find(' ') == text.npos;
    });
  };
  return key;
}

/// A name that becomes a part of subjects.
template <typename Member>
SettingKey SubjectPart(std::string table, std::string name, Member member, std::string help) {
  SettingKey key = Text(std::move(table), std::move(name), member, std::move(help));
  key.expected = "a text of at most 64 letters, digits, \"-\" and \"_\"";
  key.accepts = [](const SettingValue& value) {
    const auto& text = std::get<std::string>(value);
    return text.empty() || uplink::IsSiteName(text);
  };
  return key;
}

/// By what a program logs in; `login` gives the reference to the `NatsLogin`, `who` it is.
template <typename Login>
std::vector<SettingKey> LoginKeys(const std::string& table, const std::string& who, Login login) {
  return {
      Text(
          table, "tls_ca", [login](auto& settings) -> auto& { return login(settings).tls_ca; },
          "PEM file with the certificates of those who sign the servers'. Empty: the system's."),
      Text(
          table, "tls_certificate", [login](auto& settings) -> auto& { return login(settings).tls_certificate; },
          "PEM file with the certificate chain that the " + who + " shows the servers. Empty: none."),
      Text(
          table, "tls_key", [login](auto& settings) -> auto& { return login(settings).tls_key; },
          "PEM file with the private key of that certificate. Only its owner may be able to read it."),
      Text(
          table, "nkey", [login](auto& settings) -> auto& { return login(settings).nkey; },
          "Public half of the NKey by which the " + who + " logs in at the servers. Empty: none."),
      Text(
          table, "nkey_seed", [login](auto& settings) -> auto& { return login(settings).nkey_seed; },
          "File with the seed of that NKey. Only its owner may be able to read it."),
  };
}

std::vector<SettingKey> Joined(std::vector<SettingKey> first, std::vector<SettingKey> second,
                               std::vector<SettingKey> third) {
  std::move(second.begin(), second.end(), std::back_inserter(first));
  std::move(third.begin(), third.end(), std::back_inserter(first));
  return first;
}

}  // namespace

std::vector<SettingKey> UplinkKeys() {
  constexpr std::int64_t kMebibyte = 1024 * 1024;
  constexpr std::int64_t kMaxHours = 24 * 366;
  const std::string table = "uplink";
  return Joined(
      {
          ServersKey(
              table, [](auto& settings) -> auto& { return settings.uplink.servers; },
              "NATS servers to which the probe sends what it learns: \"tls://centre.example.org:4222\". Empty: to "
              "none."),
          SubjectPart(
              table, "site", [](auto& settings) -> auto& { return settings.uplink.site; },
              "Name of this site among those of the servers. To be given with servers."),
          SubjectPart(
              table, "stream", [](auto& settings) -> auto& { return settings.uplink.stream; },
              "Name of the stream that takes the texts of all sites in."),
      },
      LoginKeys(
          table, "probe", [](auto& settings) -> auto& { return settings.uplink; }),
      {
          Number(
              table, "spool_bytes", [](auto& settings) -> auto& { return settings.uplink.spool_bytes; }, kMebibyte,
              1024 * 1024 * kMebibyte,
              "Octets of texts that wait in the state directory while no server takes them; the oldest go first."),
          Number(
              table, "spool_hours", [](auto& settings) -> auto& { return settings.uplink.spool_age; }, 1, kMaxHours,
              "Hours for which they wait at most."),
      });
}

std::vector<SettingKey> StreamKeys() {
  constexpr std::int64_t kMaxReplicas = 5;  // of a NATS server
  constexpr std::int64_t kMaxDays = 3650;
  const std::string table = "stream";
  return Joined(
      {
          ServersKey(
              table, [](auto& settings) -> auto& { return settings.centre.stream.servers; },
              "NATS servers to which the sites send: \"tls://nats-1.example.org:4222\"."),
          SubjectPart(
              table, "name", [](auto& settings) -> auto& { return settings.centre.stream.name; },
              "Name of the stream that takes the texts of all sites in. The centre makes it where there is none."),
      },
      LoginKeys(
          table, "centre", [](auto& settings) -> auto& { return settings.centre.stream; }),
      {
          Number(
              table, "replicas", [](auto& settings) -> auto& { return settings.centre.stream.replicas; }, 1,
              kMaxReplicas, "Copies on as many servers that a stream gets which the centre makes."),
          Number(
              table, "days", [](auto& settings) -> auto& { return settings.centre.stream.days; }, 1, kMaxDays,
              "Days for which such a stream keeps texts."),
      });
}

}  // namespace probe
