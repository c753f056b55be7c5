#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <variant>

#include "probe/app/command_line.h"
#include "probe/app/service_manager.h"
#include "probe/app/service_signals.h"
#include "probe/centre/centre.h"
#include "probe/centre/stream_connection.h"
#include "probe/centre_app/centre_command_line.h"
#include "probe/host/journal_priority.h"
#include "probe/host/log.h"
#include "probe/server/net/server_settings.h"
#include "probe/settings/settings.h"
#include "probe/text/command_line_exit.h"

namespace {

using probe::centre::CommandLine;

/// Writes what is wrong to standard error, with the priority of an error where the journal reads it.
void PrintError(const std::string& text) {
  probe::log::PrintLines(probe::log::Level::kError, text);
}

int Check(const CommandLine& command_line) {
  const probe::Settings settings = probe::centre::SettingsFor(command_line);
  probe::RequireServable(settings.server);
  probe::centre::StreamConnection::RequireUsable(settings.centre.stream);
  std::puts("The configuration can be used.");
  return 0;
}

/// Runs the centre until somebody stops it. Returns the exit code.
int Run(const CommandLine& command_line) {
  // Before any thread is started: threads inherit the blocked signals.
  probe::ServiceSignals service_signals;
  const probe::Settings settings = probe::centre::SettingsFor(command_line);
  // A core dump would hold the tokens. prctl(2)
  prctl(PR_SET_DUMPABLE, 0);
  probe::log::SetLevel(settings.log_level);
  probe::centre::Centre centre(settings.centre, settings.server, [&] { service_signals.Interrupt(); });
  centre.Start();
  probe::TellServiceManager("READY=1");
  const char* signal = service_signals.Wait();
  while (signal != nullptr && std::string_view(signal) == "SIGHUP" && !service_signals.IsTerminalGone()) {
    probe::log::Warning("SIGHUP: the configuration is read at a start only");
    signal = service_signals.Wait();
  }
  probe::TellServiceManager("STOPPING=1");
  probe::log::Info("%s: stopping", signal == nullptr ? "failure" : signal);
  centre.Stop();
  probe::log::Info("stopped");
  return signal == nullptr ? 1 : 0;
}

/// Does what the command line asks for. Returns the exit code, once the reason of a failure has been told.
int Main(int argc, char** argv) {
  bool is_check = false;
  try {
    const auto parsed = probe::centre::ParseCommandLine(argc, argv);
    if (const auto* answer = std::get_if<probe::CommandLineExit>(&parsed))
      return probe::Print(*answer, probe::log::StandardErrorPrefix(probe::log::Level::kError));
    const auto& command_line = std::get<CommandLine>(parsed);
    is_check = command_line.is_check;
    return is_check ? Check(command_line) : Run(command_line);
  } catch (const probe::SettingsError& error) {
    PrintError(error.what());
    return is_check ? 1 : probe::kUnusable;
  } catch (const std::exception& error) {
    PrintError(std::string("vexora-centre: ") + error.what());
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception&) {
    return 1;  // there is no memory to say why
  }
}
