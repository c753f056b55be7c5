#include "probe/sources/snmp/profile_catalogue.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

#include "probe/sources/snmp/profile_builder.h"
#include "probe/sources/snmp/profile_entry.h"
#include "probe/text/toml.h"
#include "probe/text/utf8.h"

namespace probe::snmp {

namespace {

namespace fs = std::filesystem;

/// One profile file as it was parsed.
struct Document {
  std::string file;
  toml::table content;
  std::string error{};         // why there is no content; empty when there is
  std::size_t error_line = 1;  // where in the file
};

/// By the names of the profiles.
using Documents = std::map<std::string, Document>;

constexpr const char* kSystemProfiles = "/etc/vexora/profiles";

/// Octets of one file. A profile of thousands of lines is far below.
constexpr std::uintmax_t kMaxFile = 1U << 20U;

Document Parse(std::string_view text, const std::string& file) {
  try {
    return {.file = file, .content = toml::parse(text, file)};
  } catch (const toml::parse_error& error) {
    return {.file = file,
            .content = {},
            .error = PrintableLine(error.description()),
            .error_line = error.source().begin.line};
  }
}

Document ReadDocument(const fs::path& path) {
  Document document{.file = path.string(), .content = {}, .error = "cannot be read"};
  std::error_code failure;
  if (fs::file_size(path, failure) > kMaxFile && !failure) {
    document.error = "is larger than " + std::to_string(kMaxFile) + " octets";
    return document;
  }
  std::ifstream file(path, std::ios::binary);
  try {
    if (file) return Parse(std::string(std::istreambuf_iterator<char>(file), {}), path.string());
  } catch (const std::ios_base::failure&) {
    // A folder can be opened, but not be read.
  }
  return document;
}

/// The profile files of a folder -> their paths, by the names of the profiles.
std::map<std::string, fs::path> FilesIn(const fs::path& folder, ProfileErrors& errors) {
  std::map<std::string, fs::path> files;
  std::error_code failure;
  fs::directory_iterator entries(folder, failure);
  if (failure == std::errc::no_such_file_or_directory) return files;
  for (; !failure && entries != fs::directory_iterator(); entries.increment(failure)) {
    const fs::path& path = entries->path();
    if (path.extension() == ".toml" && path.filename().string()[0] != '.') files[path.stem().string()] = path;
  }
  if (failure) errors.Add(folder.string(), 1, "", "cannot be read: " + failure.message());
  return files;
}

std::vector<std::string> NamesOf(const Documents& documents) {
  std::vector<std::string> names;
  names.reserve(documents.size());
  for (const auto& [name, document] : documents) names.push_back(name);
  return names;
}

/// The entries of a profile's document and of those that it extends, the base first; nothing and an error where one is
/// unknown, cannot be read or extends itself.
std::optional<std::vector<ProfileEntry>> ChainOf(const std::string& name, const Documents& documents,
                                                 ProfileErrors& errors) {
  std::vector<ProfileEntry> chain;
  std::vector<std::string> names = {name};
  while (true) {
    const Document& document = documents.at(names.back());
    if (!document.error.empty()) {
      errors.Add(document.file, document.error_line, "", document.error);
      return std::nullopt;
    }
    chain.emplace_back(document.file, document.content, errors);
    const std::optional<ProfileEntry> extends = chain.back().Find("extends");
    if (!extends) break;
    const std::optional<std::string> base = extends->Text();
    if (!base) return std::nullopt;
    if (documents.count(*base) == 0) {
      extends->FailName(*base, "a profile", NamesOf(documents));
      return std::nullopt;
    }
    if (std::find(names.begin(), names.end(), *base) != names.end()) {
      extends->Fail("a profile cannot extend itself, not by way of others either");
      return std::nullopt;
    }
    names.push_back(*base);
  }
  std::reverse(chain.begin(), chain.end());
  return chain;
}

std::optional<Profile> Build(const std::string& name, const Documents& documents, ProfileErrors& errors) {
  const auto chain = ChainOf(name, documents, errors);
  if (!chain) return std::nullopt;
  Profile profile = BuildProfile(*chain);
  profile.name = name;
  profile.file = documents.at(name).file;
  return profile;
}

Documents ReadDocuments(const std::vector<fs::path>& folders, ProfileErrors& errors) {
  std::map<std::string, fs::path> files;
  for (const fs::path& folder : folders) {
    for (auto& [name, path] : FilesIn(folder, errors)) files.insert_or_assign(name, path);
  }
  Documents documents;
  for (const auto& [name, path] : files) documents.emplace(name, ReadDocument(path));
  return documents;
}

/// How well a profile fits; nothing where it does not.
struct Fit {
  std::size_t prefix = 0;
  bool has_description = false;
};

bool IsBetter(const Fit& fit, const Fit& other) {
  return std::tie(fit.prefix, fit.has_description) > std::tie(other.prefix, other.has_description);
}

std::optional<Fit> FitOf(const MatchRule& rule, const Oid& object_id, std::string_view description) {
  Fit fit;
  for (const Oid& prefix : rule.object_ids) {
    if (StartsWith(object_id, prefix)) fit.prefix = std::max(fit.prefix, prefix.size());
  }
  if (!rule.object_ids.empty() && fit.prefix == 0) return std::nullopt;
  fit.has_description = rule.description.has_value();
  if (fit.has_description && !rule.description->Matches(description)) return std::nullopt;
  return fit;
}

std::string Reason(const MatchRule& rule, const Fit& fit, const Oid& object_id) {
  std::string why;
  if (fit.prefix > 0) {
    const Oid prefix(object_id.begin(), object_id.begin() + static_cast<std::ptrdiff_t>(fit.prefix));
    why = "sysObjectID " + OidText(object_id) + " begins with " + OidText(prefix);
  }
  if (fit.has_description) {
    why += std::string(why.empty() ? "" : " and ") + "sysDescr matches \"" + rule.description->text() + '"';
  }
  return why;
}

}  // namespace

ProfileCatalogue::ProfileCatalogue(const std::vector<fs::path>& folders) {
  ProfileErrors errors;
  const Documents documents = ReadDocuments(folders, errors);
  for (const auto& [name, document] : documents) {
    if (std::optional<Profile> profile = Build(name, documents, errors)) profiles_.push_back(*std::move(profile));
  }
  errors.Raise();
}

const Profile* ProfileCatalogue::Find(std::string_view name) const {
  const auto found =
      std::find_if(profiles_.begin(), profiles_.end(), [&](const Profile& profile) { return profile.name == name; });
  return found != profiles_.end() ? &*found : nullptr;
}

ProfileMatch ProfileCatalogue::Match(const Oid& sys_object_id, std::string_view sys_descr) const {
  ProfileMatch match;
  std::optional<Fit> best;
  for (const Profile& profile : profiles_) {
    if (!profile.match) continue;
    const std::optional<Fit> fit = FitOf(*profile.match, sys_object_id, sys_descr);
    if (!fit || (best && !IsBetter(*fit, *best))) continue;
    best = fit;
    match = {&profile, Reason(*profile.match, *fit, sys_object_id)};
  }
  if (match.profile == nullptr)
    match = {Find(kGeneric), "no other profile is for sysObjectID " + OidText(sys_object_id)};
  return match;
}

std::vector<fs::path> ProfileFolders() {
  std::error_code failure;  // without /proc there are only the system's
  const fs::path executable = fs::read_symlink("/proc/self/exe", failure);
  return {executable.parent_path().parent_path() / VEXORA_PROFILE_DIR, kSystemProfiles};
}

namespace {

/// The profile of a document, which may extend those in the folders.
Profile BuildOne(Document document, const std::string& name, const std::vector<fs::path>& folders) {
  ProfileErrors errors;
  ProfileErrors others;  // what is wrong in the folders is not this profile's, unless it extends it
  Documents documents = ReadDocuments(folders, others);
  documents.insert_or_assign(name, std::move(document));
  std::optional<Profile> profile = Build(name, documents, errors);
  errors.Raise();
  return *std::move(profile);
}

}  // namespace

Profile ParseProfile(std::string_view text, const std::string& name, const std::string& file,
                     const std::vector<fs::path>& folders) {
  return BuildOne(Parse(text, file), name, folders);
}

Profile CheckProfile(const fs::path& file, const std::vector<fs::path>& folders) {
  return BuildOne(ReadDocument(file), file.stem().string(), folders);
}

}  // namespace probe::snmp
