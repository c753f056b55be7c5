#include "probe/settings/settings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "probe/server/net/server_settings.h"
#include "probe/settings/access_groups.h"
#include "probe/settings/log_levels.h"
#include "probe/settings/secret_file.h"
#include "probe/settings/setting_keys.h"
#include "probe/settings/settings_errors.h"
#include "probe/settings/settings_files.h"
#include "probe/settings/snmp_devices.h"
#include "probe/settings/toml_values.h"
#include "probe/text/nearest_word.h"
#include "probe/text/secret.h"
#include "probe/text/toml.h"
#include "probe/uplink/nats_login.h"

namespace probe {
namespace {

/// Path of a key that a file holds -> where; the last place, if there are several.
using KeyPlaces = std::map<std::string, SettingsPlace>;

/// Whether keys stand in this table, or in one below it.
bool IsTable(Program program, const std::string& path) {
  if (path == "sources.snmp") return program == Program::kProbe;
  const auto& keys = SettingKeys(program);
  return std::any_of(keys.begin(), keys.end(),
                     [&](const SettingKey& key) { return key.table == path || key.table.rfind(path + ".", 0) == 0; });
}

const SettingKey* FindKey(Program program, const std::string& path) {
  const auto& keys = SettingKeys(program);
  const auto found = std::find_if(keys.begin(), keys.end(), [&](const SettingKey& key) { return key.Path() == path; });
  return found != keys.end() ? &*found : nullptr;
}

/// The tables and lists of tables that hold something else than keys.
std::vector<std::string> SpecialTables(Program program) {
  if (program == Program::kCentre) return {kAccessGroups};
  return {kSnmpDevices, "sources.snmp", kLogLevels};
}

/// A hint for a name that is not known: the key or table of `prefix` that was probably meant.
std::string PathHint(Program program, const std::string& path, const std::string& prefix) {
  std::vector<std::string> paths = SpecialTables(program);
  for (const SettingKey& key : SettingKeys(program)) {
    paths.push_back(key.Path());
    paths.push_back(key.table);
  }
  std::erase_if(paths, [&](const std::string& one) {
    return !one.starts_with(prefix) || one.find('.', prefix.size()) != std::string::npos;
  });
  for (std::string& one : paths) one.erase(0, prefix.size());
  return DidYouMean(std::string_view(path).substr(prefix.size()), paths, prefix);
}

/// Takes the values of one document over, and notes those that it cannot take.
class SettingsReader {
 public:
  SettingsReader(Program program, const SettingsFile& file, Settings& settings, KeyPlaces& places,
                 SettingsErrors& errors)
      : program_(program), file_(file), settings_(settings), places_(places), errors_(errors) {}

  /// `prefix` is empty for the whole document, otherwise the table's path and a dot.
  void Table(const toml::table& table, const std::string& prefix) {
    for (const auto& [name, node] : table) {
      const std::string path = prefix + std::string(name.str());
      const std::size_t line = name.source().begin.line;
      if (Special(node, path)) continue;
      if (!IsTable(program_, path)) {
        Value(node, path, prefix, line);
      } else if (const toml::table* inner = node.as_table()) {
        Table(*inner, path + ".");
      } else {
        errors_.Add(line, path, "must be a table");
      }
    }
  }

 private:
  /// Reads what holds something else than keys. False: this is no such table.
  bool Special(const toml::node& node, const std::string& path) {
    const auto tables = SpecialTables(program_);
    if (std::find(tables.begin(), tables.end(), path) == tables.end()) return false;
    if (path == kSnmpDevices) {
      ReadSnmpDevices(node, errors_, settings_.snmp.devices);
    } else if (path == kLogLevels) {
      ReadLogLevels(node, errors_, settings_.log_levels);
    } else if (path == kAccessGroups) {
      ReadAccessGroups(node, errors_, settings_);
    } else {
      return false;
    }
    return true;
  }

  void Value(const toml::node& node, const std::string& path, const std::string& prefix, std::size_t line) {
    const SettingKey* key = FindKey(program_, path);
    if (key == nullptr) {
      const bool is_table = node.is_table() || node.is_array_of_tables();
      errors_.Add(line, path,
                  (is_table ? "there is no such table" : "there is no such key") + PathHint(program_, path, prefix));
      return;
    }
    const std::optional<SettingValue> value = ValueOf(node);
    if (!value || value->index() != key->read(settings_).index() || !key->accepts(*value)) {
      errors_.Add(line, path, "must be " + key->expected);
      return;
    }
    key->assign(settings_, *value);
    places_[path] = errors_.At(line);
    // Each file with a token, also where a later file has another: it may be in use elsewhere.
    if (path == "server.token" && !settings_.server.token.empty() && !file_.not_private.empty()) {
      errors_.Add(line, path, file_.not_private);
    }
  }

  const Program program_;
  const SettingsFile& file_;
  Settings& settings_;
  KeyPlaces& places_;
  SettingsErrors& errors_;
};

/// Place of `key`, or of `other`, whichever a file holds.
SettingsPlace PlaceOf(const KeyPlaces& places, const std::string& key, const std::string& other) {
  const auto found = places.find(key);
  // A file holds one of the two: defaults do not contradict one another.
  return found != places.end() ? found->second : places.at(other);
}

void CheckTls(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const std::string certificate = "server.tls_certificate";
  const std::string key = "server.tls_key";
  if (!HasHalfOfTls(settings.server)) return;
  const bool key_is_missing = settings.server.tls_key.empty();
  const std::string& missing = key_is_missing ? key : certificate;
  const std::string& given = key_is_missing ? certificate : key;
  errors.Add(PlaceOf(places, missing, given), missing, "must be given together with " + given);
}

/// Two keys that mean nothing alone.
void CheckPair(const std::string& first, bool is_first_given, const std::string& second, bool is_second_given,
               const KeyPlaces& places, SettingsErrors& errors) {
  if (is_first_given == is_second_given) return;
  const std::string& missing = is_first_given ? second : first;
  const std::string& given = is_first_given ? first : second;
  errors.Add(PlaceOf(places, missing, given), missing, "must be given together with " + given);
}

/// `table`: in which the keys of this login stand.
void CheckLogin(const uplink::NatsLogin& login, const std::string& table, const KeyPlaces& places,
                SettingsErrors& errors) {
  CheckPair(table + ".tls_certificate", !login.tls_certificate.empty(), table + ".tls_key", !login.tls_key.empty(),
            places, errors);
  CheckPair(table + ".nkey", !login.nkey.empty(), table + ".nkey_seed", !login.nkey_seed.empty(), places, errors);
}

void CheckStream(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  CheckLogin(settings.centre.stream, "stream", places, errors);
  if (settings.centre.stream.servers.empty())
    errors.Add(places.at("stream.servers"), "stream.servers", "must name one");
  if (settings.centre.stream.name.empty()) errors.Add(places.at("stream.name"), "stream.name", "must not be empty");
}

void CheckUplink(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const uplink::UplinkSettings& uplink = settings.uplink;
  // A site without servers is one whose uplink is switched off.
  const bool has_site = !uplink.site.empty() || uplink.servers.empty();
  CheckPair("uplink.servers", true, "uplink.site", has_site, places, errors);
  CheckLogin(uplink, "uplink", places, errors);
  if (uplink.stream.empty()) errors.Add(places.at("uplink.stream"), "uplink.stream", "must not be empty");
}

void CheckSilences(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const ServerLimits& limits = settings.server.limits;
  if (!HangsUpUnasked(limits)) return;
  const std::string hang_up = "limits.hang_up_after_seconds";
  const std::string ping = "limits.ping_after_seconds";
  errors.Add(PlaceOf(places, hang_up, ping), hang_up,
             "must be more than " + ping + ", which is " + std::to_string(limits.ping_after.count()));
}

/// Limits that would never come into force, since another is reached first.
void CheckContradictions(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const ServerLimits& limits = settings.server.limits;
  const auto check = [&](const char* lesser, auto value, const char* greater, auto bound) {
    const std::string key = std::string("limits.") + lesser;
    const std::string other = std::string("limits.") + greater;
    if (value > bound)
      errors.Add(PlaceOf(places, key, other), key,
                 "must be no more than " + other + ", which is " + std::to_string(bound));
  };
  check("message_bytes", limits.message_bytes, "bytes_per_second", limits.bytes_per_second);
  check("queue_bytes", limits.queue_bytes, "all_queues_bytes", limits.all_queues_bytes);
  check("pass_bytes_per_connection", limits.pass_bytes_per_connection, "pass_bytes", limits.pass_bytes);
  check("stuck_after_seconds", limits.stuck_after.count(), "queue_seconds", limits.queue_for.count());
}

/// Takes the token from its file, if one is named.
void ReadToken(Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  if (settings.token_file.empty()) return;
  const std::string key = "server.token_file";
  if (!settings.server.token.empty()) {
    errors.Add(places.at(key), key, "must not be given together with server.token");
    return;
  }
  const NamedFile file = FileNamed(settings.token_file);
  if (!errors.NoteFile(places.at(key), key, file)) {
    settings.server.token = kUncheckedSecret;
    return;
  }
  SecretLine line = ReadSecretLine(file.path, file.is_credential);
  if (!line.error.empty()) {
    errors.Add(places.at(key), key, line.error);
    return;
  }
  settings.server.token = std::move(line.text);
  if (settings.server.token.empty()) {
    errors.Add(places.at(key), key, "no token can be read from \"" + file.path + "\"");
  }
}

/// Finds the files of certificates and keys, and says what is wrong with those of the keys.
void FindKeyFiles(Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const auto find = [&](const char* name, std::string& path, bool is_secret) {
    const auto key = places.find(name);
    if (key == places.end()) return;
    const NamedFile file = FileNamed(path);
    if (!errors.NoteFile(key->second, key->first, file)) return;
    path = file.path;
    const std::string why = is_secret ? WhyNotPrivate(file.path, file.is_credential) : std::string();
    if (!why.empty()) errors.Add(key->second, key->first, why);
  };
  find("server.tls_certificate", settings.server.tls_certificate, false);
  find("server.tls_key", settings.server.tls_key, true);
  const auto find_login = [&](const std::string& table, uplink::NatsLogin& login) {
    find((table + ".tls_ca").c_str(), login.tls_ca, false);
    find((table + ".tls_certificate").c_str(), login.tls_certificate, false);
    find((table + ".tls_key").c_str(), login.tls_key, true);
    find((table + ".nkey_seed").c_str(), login.nkey_seed, true);
  };
  find_login("uplink", settings.uplink);
  find_login("stream", settings.centre.stream);
}

void CheckToken(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  if (settings.server.token.empty()) return;
  const std::string key = settings.token_file.empty() ? "server.token" : "server.token_file";
  for (const NamedToken& other : settings.server.named_tokens) {
    if (other.token == settings.server.token && other.token.text() != kUncheckedSecret)
      errors.Add(places.at(key), key, "is the token of the group \"" + other.name + "\", too");
  }
  if (const std::string why = WhyTokenIsWeak(settings.server); !why.empty()) errors.Add(places.at(key), key, why);
}

/// What the parser says, without the value that it may repeat: that may be a secret that lacks its quotes.
std::string WithoutValue(std::string text) {
  for (const char* const behind : {"' is not representable", "' could not be interpreted"}) {
    const std::size_t end = text.find(behind);
    if (end == std::string::npos || end == 0) continue;
    const std::size_t begin = text.rfind('\'', end - 1);
    if (begin != std::string::npos) text.replace(begin, end + 1 - begin, "the number");
  }
  return text;
}

/// The document in a text; nothing, and an error, for what is not TOML.
std::optional<toml::table> ParsedToml(std::string_view text, SettingsErrors& errors) {
  try {
    return toml::parse(text);
  } catch (const toml::parse_error& error) {
    errors.Add(error.source().begin.line, "", WithoutValue(std::string(error.description())));
    return std::nullopt;
  }
}

/// Notes files and folders that hold no secret.
void NoteOtherFiles(const Settings& settings, const KeyPlaces& places, SettingsErrors& errors) {
  const auto note = [&](const char* name, const std::string& path) {
    const auto key = places.find(name);
    if (key != places.end() && !path.empty()) errors.NoteFile(key->second, key->first, NamedFile{path, false, {}});
  };
  note("server.dashboard", settings.server.dashboard);
  note("plugin.path", settings.plugin_path);
}

/// The settings in several files: of a key in two of them the later counts, and lists of tables add up.
Settings SettingsOf(const std::vector<SettingsFile>& files, Program program, SettingsReview* review = nullptr) {
  Settings settings;
  KeyPlaces places;
  SettingsErrors errors(files.front().name, review != nullptr);
  bool is_whole = true;
  for (const SettingsFile& file : files) {
    if (&file != &files.front()) errors.BeginFile(file.name);
    if (!file.error.empty()) errors.Add(0, "", file.error);
    const auto document = file.error.empty() ? ParsedToml(file.text, errors) : std::nullopt;
    if (document) SettingsReader(program, file, settings, places, errors).Table(*document, "");
    is_whole = is_whole && document;
  }
  // A key that contradicts another may have its remedy in what could not be read.
  if (is_whole) {
    CheckTls(settings, places, errors);
    CheckUplink(settings, places, errors);
    CheckStream(settings, places, errors);
    CheckSilences(settings, places, errors);
    CheckContradictions(settings, places, errors);
    ReadToken(settings, places, errors);
    FindKeyFiles(settings, places, errors);
    CheckToken(settings, places, errors);
    NoteOtherFiles(settings, places, errors);
  }
  if (review != nullptr) *review = errors.Review();
  errors.Raise();
  return settings;
}

}  // namespace

Settings ParseSettings(std::string_view text, const std::string& file, Program program) {
  return SettingsOf({SettingsFile{file, std::string(text), {}, {}}}, program);
}

Settings ReadSettings(const std::string& file, SettingsReview* review, Program program) {
  std::vector<SettingsFile> files = ReadSettingsFiles(file, program == Program::kCentre ? "centre.d" : "probe.d");
  Settings settings = SettingsOf(files, program, review);
  for (SettingsFile& one : files) Wipe(one.text);  // tokens, and what devices are asked with
  return settings;
}

}  // namespace probe
