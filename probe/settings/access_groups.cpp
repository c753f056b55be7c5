#include "probe/settings/access_groups.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "probe/centre/centre_settings.h"
#include "probe/server/net/server_settings.h"
#include "probe/settings/secret_file.h"
#include "probe/settings/toml_values.h"
#include "probe/text/nearest_word.h"
#include "probe/text/secret.h"
#include "probe/uplink/uplink_settings.h"

namespace probe {
namespace {

/// "north" or "north-*".
bool IsSitePattern(const std::string& text) {
  return text == "*" || uplink::IsSiteName(text.ends_with('*') ? text.substr(0, text.size() - 1) : text);
}

/// Reads one table of the list.
class GroupReader {
 public:
  GroupReader(const toml::table& table, std::string path, SettingsErrors& errors)
      : table_(table), path_(std::move(path)), errors_(errors) {}

  /// Adds the group, unless something is wrong.
  void Read(Settings& settings) {
    RefuseUnknownKeys();
    centre::AccessGroup group{Name(settings), Sites()};
    Secret token = Token(settings);
    if (has_error_) return;
    settings.server.named_tokens.push_back({group.name, std::move(token)});
    settings.centre.groups.push_back(std::move(group));
  }

 private:
  void Fail(const char* key, const std::string& what) {
    const toml::node* const node = table_.get(key);
    errors_.Add((node == nullptr ? table_.source() : node->source()).begin.line, path_ + "." + key, what);
    has_error_ = true;
  }

  void RefuseUnknownKeys() {
    static const std::vector<std::string> known{"name", "token_file", "sites"};
    for (const auto& [name, node] : table_) {
      const std::string key(name.str());
      if (std::find(known.begin(), known.end(), key) == known.end())
        Fail(key.c_str(), "there is no such key" + DidYouMean(key, known));
    }
  }

  std::string Name(const Settings& settings) {
    std::string name = table_["name"].value_or(std::string());
    if (!uplink::IsSiteName(name)) {
      Fail("name", "must be a text of 1 to 64 letters, digits, \"-\" and \"_\"");
    } else if (std::any_of(settings.centre.groups.begin(), settings.centre.groups.end(),
                           [&](const auto& group) { return group.name == name; })) {
      Fail("name", "another group has this name");
    }
    return name;
  }

  std::vector<std::string> Sites() {
    const toml::node* const node = table_.get("sites");
    const auto value = node == nullptr ? std::nullopt : ValueOf(*node);
    const auto* const texts = value ? std::get_if<std::vector<std::string>>(&*value) : nullptr;
    if (texts == nullptr || texts->empty() || !std::all_of(texts->begin(), texts->end(), IsSitePattern)) {
      Fail("sites", "must be a list of names of sites, of which the last letter may be \"*\"");
      return {};
    }
    return *texts;
  }

  Secret Token(const Settings& settings) {
    const std::string name = table_["token_file"].value_or(std::string());
    const toml::node* const node = table_.get("token_file");
    if (name.empty()) {
      Fail("token_file", "must be the path of a file whose only line is a token");
      return {};
    }
    const NamedFile file = FileNamed(name);
    if (!errors_.NoteFile(node->source().begin.line, path_ + ".token_file", file)) return kUncheckedSecret;
    SecretLine line = ReadSecretLine(file.path, file.is_credential);
    if (line.error.empty() && line.text.empty()) line.error = "no token can be read from \"" + file.path + "\"";
    if (!line.error.empty()) {
      Fail("token_file", line.error);
      return {};
    }
    Secret token(std::move(line.text));
    // Nobody could tell whose it is.
    for (const NamedToken& other : settings.server.named_tokens) {
      if (other.token == token) Fail("token_file", "holds the token of \"" + other.name + "\", too");
    }
    return token;
  }

  const toml::table& table_;
  const std::string path_;
  SettingsErrors& errors_;
  bool has_error_ = false;
};

}  // namespace

void ReadAccessGroups(const toml::node& list, SettingsErrors& errors, Settings& settings) {
  const toml::array* const tables = list.as_array();
  if (tables == nullptr || !list.is_array_of_tables())
    return errors.Add(list.source().begin.line, kAccessGroups, "must be a list of tables: [[access]]");
  std::size_t number = 0;
  for (const toml::node& node : *tables)
    GroupReader(*node.as_table(), std::string(kAccessGroups) + "[" + std::to_string(number++) + "]", errors)
        .Read(settings);
}

std::string DescribeAccessGroups() {
  return "# Groups of sites with a token of their own, each in a table of its own. Where there is one, or "
         "server.token,\n"
         "# everybody has to show a token; that of server.token is for all sites:\n"
         "#\n"
         "#   [[access]]\n"
         "#   name = \"east\"\n"
         "#   token_file = \"${CREDENTIALS_DIRECTORY}/vexora_east\"\n"
         "#   sites = [\"north\", \"east-*\"]\n"
         "#\n"
         "# The keys of such a table:\n"
         "#\n"
         "# name: By which the log and errors call the group.\n"
         "# (a text of 1 to 64 letters, digits, \"-\" and \"_\")\n"
         "#\n"
         "# token_file: File whose only line is the token. Only its owner may be able to read it.\n"
         "# (a text)\n"
         "#\n"
         "# sites: Which sites it shows; \"east-*\" stands for all whose names begin so.\n"
         "# (a list of names of sites, of which the last letter may be \"*\")\n";
}

}  // namespace probe
