#include "probe/settings/settings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "probe/server/net/server_settings.h"
#include "probe/settings/secret_file.h"
#include "probe/settings/setting_keys.h"
#include "probe/settings/settings_errors.h"
#include "probe/settings/snmp_devices.h"
#include "probe/settings/toml_values.h"
#include "probe/text/nearest_word.h"
#include "probe/text/secret.h"
#include "probe/text/toml.h"
#include "probe/text/utf8.h"

namespace probe {
namespace {

/// Path of a key that the file holds -> its line.
using KeyLines = std::map<std::string, std::size_t>;

/// Whether keys stand in this table, or in one below it.
bool IsTable(const std::string& path) {
  if (path == "sources.snmp") return true;
  return std::any_of(SettingKeys().begin(), SettingKeys().end(),
                     [&](const SettingKey& key) { return key.table == path || key.table.rfind(path + ".", 0) == 0; });
}

const SettingKey* FindKey(const std::string& path) {
  const auto found = std::find_if(SettingKeys().begin(), SettingKeys().end(),
                                  [&](const SettingKey& key) { return key.Path() == path; });
  return found != SettingKeys().end() ? &*found : nullptr;
}

/// A hint for a name that is not known: the key or table of `prefix` that was probably meant.
std::string PathHint(const std::string& path, const std::string& prefix) {
  std::vector<std::string> paths{kSnmpDevices, "sources.snmp"};
  for (const SettingKey& key : SettingKeys()) {
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
  SettingsReader(Settings& settings, KeyLines& lines, SettingsErrors& errors)
      : settings_(settings), lines_(lines), errors_(errors) {}

  /// `prefix` is empty for the whole document, otherwise the table's path and a dot.
  void Table(const toml::table& table, const std::string& prefix) {
    for (const auto& [name, node] : table) {
      const std::string path = prefix + std::string(name.str());
      const std::size_t line = name.source().begin.line;
      if (path == kSnmpDevices) {
        settings_.snmp.devices = ReadSnmpDevices(node, errors_);
      } else if (!IsTable(path)) {
        Value(node, path, prefix, line);
      } else if (const toml::table* inner = node.as_table()) {
        Table(*inner, path + ".");
      } else {
        errors_.Add(line, path, "must be a table");
      }
    }
  }

 private:
  void Value(const toml::node& node, const std::string& path, const std::string& prefix, std::size_t line) {
    const SettingKey* key = FindKey(path);
    if (key == nullptr) {
      const bool is_table = node.is_table() || node.is_array_of_tables();
      errors_.Add(line, path, (is_table ? "there is no such table" : "there is no such key") + PathHint(path, prefix));
      return;
    }
    const std::optional<SettingValue> value = ValueOf(node);
    if (!value || value->index() != key->read(settings_).index() || !key->accepts(*value)) {
      errors_.Add(line, path, "must be " + key->expected);
      return;
    }
    key->assign(settings_, *value);
    lines_[path] = line;
  }

  Settings& settings_;
  KeyLines& lines_;
  SettingsErrors& errors_;
};

/// Line of `key`, or of `other`, whichever the file holds.
std::size_t LineOf(const KeyLines& lines, const std::string& key, const std::string& other) {
  const auto found = lines.find(key);
  // The file holds one of the two: defaults do not contradict one another.
  return found != lines.end() ? found->second : lines.at(other);
}

void CheckTls(const Settings& settings, const KeyLines& lines, SettingsErrors& errors) {
  const std::string certificate = "server.tls_certificate";
  const std::string key = "server.tls_key";
  if (!HasHalfOfTls(settings.server)) return;
  const bool key_is_missing = settings.server.tls_key.empty();
  const std::string& missing = key_is_missing ? key : certificate;
  const std::string& given = key_is_missing ? certificate : key;
  errors.Add(LineOf(lines, missing, given), missing, "must be given together with " + given);
}

void CheckSilences(const Settings& settings, const KeyLines& lines, SettingsErrors& errors) {
  const ServerLimits& limits = settings.server.limits;
  if (!HangsUpUnasked(limits)) return;
  const std::string hang_up = "limits.hang_up_after_seconds";
  const std::string ping = "limits.ping_after_seconds";
  errors.Add(LineOf(lines, hang_up, ping), hang_up,
             "must be more than " + ping + ", which is " + std::to_string(limits.ping_after.count()));
}

/// Limits that would never come into force, since another is reached first.
void CheckContradictions(const Settings& settings, const KeyLines& lines, SettingsErrors& errors) {
  const ServerLimits& limits = settings.server.limits;
  const auto check = [&](const char* lesser, auto value, const char* greater, auto bound) {
    const std::string key = std::string("limits.") + lesser;
    const std::string other = std::string("limits.") + greater;
    if (value > bound)
      errors.Add(LineOf(lines, key, other), key,
                 "must be no more than " + other + ", which is " + std::to_string(bound));
  };
  check("message_bytes", limits.message_bytes, "bytes_per_second", limits.bytes_per_second);
  check("queue_bytes", limits.queue_bytes, "all_queues_bytes", limits.all_queues_bytes);
  check("pass_bytes_per_connection", limits.pass_bytes_per_connection, "pass_bytes", limits.pass_bytes);
  check("stuck_after_seconds", limits.stuck_after.count(), "queue_seconds", limits.queue_for.count());
}

/// Takes the token from its file, if one is named.
void ReadToken(Settings& settings, const KeyLines& lines, SettingsErrors& errors) {
  if (settings.token_file.empty()) return;
  const std::string key = "server.token_file";
  if (!settings.server.token.empty()) {
    errors.Add(lines.at(key), key, "must not be given together with server.token");
    return;
  }
  const NamedFile file = FileNamed(settings.token_file);
  SecretLine line;
  if (file.error.empty()) line = ReadSecretLine(file.path, file.is_credential);
  if (const std::string& error = file.error.empty() ? line.error : file.error; !error.empty()) {
    errors.Add(lines.at(key), key, error);
    return;
  }
  settings.server.token = std::move(line.text);
  if (settings.server.token.empty()) {
    errors.Add(lines.at(key), key, "no token can be read from \"" + file.path + "\"");
  }
}

/// The line of the token, or of the file that holds it.
std::optional<std::size_t> LineOfToken(const KeyLines& lines) {
  for (const char* const key : {"server.token", "server.token_file"}) {
    if (const auto found = lines.find(key); found != lines.end()) return found->second;
  }
  return std::nullopt;
}

/// Finds the files of TLS, and says what is wrong with that of the key.
void FindTlsFiles(Settings& settings, const KeyLines& lines, SettingsErrors& errors) {
  const auto find = [&](const char* name, std::string& path, bool is_secret) {
    const auto key = lines.find(name);
    if (key == lines.end()) return;
    const NamedFile file = FileNamed(path);
    path = file.path;
    const std::string why = is_secret ? WhyNotPrivate(file.path, file.is_credential) : std::string();
    if (!file.error.empty() || !why.empty()) errors.Add(key->second, key->first, file.error.empty() ? why : file.error);
  };
  find("server.tls_certificate", settings.server.tls_certificate, false);
  find("server.tls_key", settings.server.tls_key, true);
}

void CheckSecrets(const Settings& settings, const std::string& file, const KeyLines& lines, SettingsErrors& errors) {
  const auto line = LineOfToken(lines);
  if (!line || settings.server.token.empty()) return;
  const bool is_in_file = lines.contains("server.token");
  const std::string key = is_in_file ? "server.token" : "server.token_file";
  if (const std::string why = is_in_file ? WhyNotPrivate(file) : std::string(); !why.empty())
    errors.Add(*line, key, why);
  if (const std::string why = WhyWeak(settings.server.token);
      !why.empty() && !ReachableAddress(settings.server).empty())
    errors.Add(*line, key, why);
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

toml::table ParsedToml(std::string_view text, const std::string& file) {
  try {
    return toml::parse(text);
  } catch (const toml::parse_error& error) {
    throw SettingsError(file + ":" + std::to_string(error.source().begin.line) + ": " +
                        PrintableLine(WithoutValue(std::string(error.description()))));
  }
}

std::string ReadWhole(const std::string& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  // A directory can be opened: it is the reading of `peek` that fails, and sets the bit and errno.
  if (file && file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
  if (!file.is_open() || file.bad())
    throw SettingsError(path + ": cannot be read: " + std::generic_category().message(errno));
  return text.str();
}

}  // namespace

Settings ParseSettings(std::string_view text, const std::string& file) {
  const toml::table document = ParsedToml(text, file);
  Settings settings;
  KeyLines lines;
  SettingsErrors errors(file);
  SettingsReader(settings, lines, errors).Table(document, "");
  CheckTls(settings, lines, errors);
  CheckSilences(settings, lines, errors);
  CheckContradictions(settings, lines, errors);
  ReadToken(settings, lines, errors);
  FindTlsFiles(settings, lines, errors);
  CheckSecrets(settings, file, lines, errors);
  errors.Raise();
  return settings;
}

Settings ReadSettings(const std::string& file) {
  std::string text = ReadWhole(file);
  Settings settings = ParseSettings(text, file);
  if (!settings.server.token.empty()) Wipe(text);
  return settings;
}

}  // namespace probe
