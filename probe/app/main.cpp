#include <sys/prctl.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "probe/app/check_command.h"
#include "probe/app/command_line.h"
#include "probe/app/engine_watchdog.h"
#include "probe/app/once_command.h"
#include "probe/app/probe_app.h"
#include "probe/app/service_manager.h"
#include "probe/app/service_signals.h"
#include "probe/host/journal_priority.h"
#include "probe/host/log.h"
#include "probe/server/net/server_settings.h"
#include "probe/settings/settings.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/text/command_line_exit.h"

namespace {

/// Writes what is wrong to standard error, with the priority of an error where the journal reads it.
void PrintError(const std::string& text) {
  probe::log::PrintLines(probe::log::Level::kError, text);
}

/// What `run` returns; or, when it throws, the exit code for that, once the reason has been told behind `prefix`.
template <typename Function>
int Guarded(const char* prefix, const Function& run) {
  try {
    return run();
  } catch (const probe::SettingsError& error) {
    PrintError(error.what());
    return probe::kUnusable;
  } catch (const probe::snmp::ProfileError& error) {
    PrintError(error.what());
    return probe::kUnusable;
  } catch (const std::exception& error) {
    PrintError(std::string(prefix) + ": " + error.what());
    return 1;
  }
}

/// What answers to the service manager for the engine; null: it does not ask.
std::unique_ptr<probe::EngineWatchdog> WatchdogFor(const probe::ProbeApp& app) {
  const auto interval = probe::WatchdogInterval();
  if (!interval) return nullptr;
  return std::make_unique<probe::EngineWatchdog>(
      *interval, [&app] { return app.EngineProgress(); }, [] { probe::TellServiceManager("WATCHDOG=1"); });
}

/// A core dump, and what other processes of this user may read of this one, would hold the secrets. prctl(2)
void GuardSecrets(const probe::Settings& settings) {
  if (!settings.server.token.empty() || !settings.server.tls_key.empty()) prctl(PR_SET_DUMPABLE, 0);
}

/// Has the probe read its configuration anew. One that cannot be used is reported, and the former stays.
void Reload(probe::ProbeApp& app, const probe::CommandLine& command_line) {
  const probe::ReloadNotice notice;
  probe::log::Info("SIGHUP: reading the configuration anew");
  try {
    const probe::Settings settings = probe::SettingsFor(command_line);
    GuardSecrets(settings);
    app.Reload(settings);
    probe::log::Info("the configuration has been taken over");
  } catch (const std::exception& error) {
    std::istringstream lines(error.what());
    for (std::string line; std::getline(lines, line);) {
      probe::log::Error("the configuration stays as it was: %s", line.c_str());
    }
  }
}

/// Reads all devices once, and prints them. Returns the exit code.
int Once(const probe::CommandLine& command_line) {
  return Guarded("vexora-probe", [&] {
    const probe::Settings settings = probe::SettingsFor(command_line);
    GuardSecrets(settings);
    return probe::ReadOnce(settings, std::cout);
  });
}

/// Runs the probe until somebody stops it. Returns the exit code.
int Run(const probe::CommandLine& command_line) {
  // A file that reaches the limit of the process (ulimit -f) is as a full disk: an error of write, not the end.
  std::signal(SIGXFSZ, SIG_IGN);
  // Before any thread is started: threads inherit the blocked signals.
  probe::ServiceSignals service_signals;
  return Guarded("vexora-probe cannot start", [&] {
    probe::Settings settings = probe::SettingsFor(command_line);
    GuardSecrets(settings);
    if (const std::string why = probe::WhyUnsafe(settings.server); !why.empty()) {
      throw probe::SettingsError("vexora-probe cannot start: " + why);
    }
    probe::ProbeApp app(std::move(settings), [&] { service_signals.Interrupt(); });
    app.Start();
    const char* signal = nullptr;
    {
      const auto watchdog = WatchdogFor(app);
      probe::TellServiceManager("READY=1");
      while ((signal = service_signals.Wait()) != nullptr && std::string_view(signal) == "SIGHUP" &&
             !service_signals.IsTerminalGone()) {
        Reload(app, command_line);
      }
    }
    probe::TellServiceManager("STOPPING=1");
    probe::log::Info("%s: stopping", signal == nullptr ? "failure" : signal);
    app.Stop();
    probe::log::Info("stopped");
    return signal == nullptr ? 1 : 0;
  });
}

}  // namespace

int main(int argc, char** argv) {
  return Guarded("vexora-probe", [&] {
    const auto parsed = probe::ParseCommandLine(argc, argv);
    if (const auto* answer = std::get_if<probe::CommandLineExit>(&parsed))
      return probe::Print(*answer, probe::log::StandardErrorPrefix(probe::log::Level::kError));
    const auto& command_line = std::get<probe::CommandLine>(parsed);
    if (command_line.subcommand) return command_line.subcommand();
    if (command_line.is_check) return probe::CheckCommand(command_line);
    return command_line.is_once ? Once(command_line) : Run(command_line);
  });
}
