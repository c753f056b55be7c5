#include "probe/app/check_command.h"

#include <cstdio>
#include <exception>
#include <sstream>

#include "probe/app/needed_profiles.h"
#include "probe/app/service_reader.h"
#include "probe/host/journal_priority.h"
#include "probe/host/log.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/tls_context.h"
#include "probe/settings/secret_file.h"
#include "probe/settings/settings.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"

namespace probe {
namespace {

/// Calls `look`; what it throws is an error, in one line or several.
void Look(CheckResult& result, const std::function<void()>& look) {
  try {
    look();
  } catch (const std::exception& error) {
    std::istringstream lines(error.what());
    for (std::string line; std::getline(lines, line);) result.errors.push_back(line);
  }
}

void CheckServer(const ServerSettings& settings) {
  const bool has_files = FileNamed(settings.tls_certificate).error.empty() && FileNamed(settings.tls_key).error.empty();
  if (!has_files) {
    if (const std::string why = WhyUnsafe(settings); !why.empty()) throw SettingsError(why);
    return;
  }
  RequireServable(settings);
  MakeTlsContext(settings);
}

std::string Warning(const UsedFile& file) {
  const std::string place = file.place.empty() ? file.path : file.place;
  const std::string what = file.place.empty() ? "this file" : "\"" + file.path + "\"";
  return place + ": the service's user cannot read " + what +
         ": make it readable for everybody; or, if it holds a secret, put it into /etc/vexora/secrets and name it "
         "\"${CREDENTIALS_DIRECTORY}/vexora_NAME\"";
}

}  // namespace

CheckResult CheckConfiguration(const CommandLine& command_line,
                               const std::function<bool(const std::string& path)>& can_service_read) {
  CheckResult result;
  Settings settings;
  SettingsReview review;
  Look(result, [&] { settings = SettingsFor(command_line, kSystemConfiguration, &review); });
  if (result.errors.empty()) {
    Look(result, [&] {
      const auto catalogue = ProfilesFor(settings.snmp);
      for (const snmp::Profile& profile : catalogue->profiles()) {
        review.files.push_back(UsedFile{profile.file, {}});
      }
    });
    Look(result, [&] { CheckServer(settings.server); });
  }
  result.unchecked = std::move(review.unchecked);
  for (const UsedFile& file : review.files) {
    if (!can_service_read(file.path)) result.warnings.push_back(Warning(file));
  }
  return result;
}

int CheckCommand(const CommandLine& command_line) {
  const CheckResult result = CheckConfiguration(command_line, CanServiceRead);
  for (const std::string& line : result.errors) log::PrintLines(log::Level::kError, line);
  for (const std::string& line : result.warnings) log::PrintLines(log::Level::kWarning, "warning: " + line);
  for (const std::string& line : result.unchecked) log::PrintLines(log::Level::kInfo, line);
  if (!result.errors.empty()) return 1;
  std::puts(result.unchecked.empty() ? "the configuration can be used"
                                     : "the configuration can be used, as far as it can be checked here");
  return 0;
}

}  // namespace probe
