// probe-replay: replays a recorded network through the real plug-in and prints everything that comes out.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "probe/host/log.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/recording/json_object_reader.h"
#include "probe/recording/recording_line.h"
#include "probe/replay/replay_host.h"
#include "probe/replay/replay_output.h"
#include "probe/text/command_line_exit.h"
#include "probe/version/version.h"

namespace {

constexpr int kMalformed = 1;

struct Arguments {
  std::string plugin = probe::DefaultPluginPath();
  std::string log_level;
  bool wants_timing = false;
  std::string recording;
};

/// Has the plug-in's log lines of a level and above printed; without a level none.
void DirectLog(const std::string& level, probe::ReplayOutput& output) {
  using probe::log::Level;
  probe::log::SetLevel(level == "debug" ? Level::kDebug : level == "info" ? Level::kInfo : Level::kError);
  const bool is_wanted = !level.empty();
  probe::log::SetWriter([&output, is_wanted](Level line_level, int module, const std::string& text) {
    if (is_wanted && module != probe::log::kProbeModule) output.Log(line_level, module, text);
  });
}

/// Replays line by line; `line` is the number of the line at hand, for error texts.
void Replay(std::istream& input, const Arguments& arguments, probe::ReplayOutput& output, std::size_t& line) {
  std::optional<probe::ReplayHost> host;
  for (std::string text; std::getline(input, text);) {
    ++line;
    // Editors of other systems end lines with CR LF.
    if (text.ends_with('\r')) text.pop_back();
    if (text.empty() || text.front() == '#') continue;
    if (host) {
      host->Do(text);
    } else {
      host.emplace(arguments.plugin, probe::recording::ParseHeader(text), output);
    }
    output.Flush();
  }
  if (input.bad()) throw std::runtime_error(arguments.recording + ": cannot be read");
  if (!host) throw probe::recording::MalformedRecording("the header is missing");
  if (arguments.wants_timing) output.Timing(host->cost());
}

int Run(const Arguments& arguments) {
  std::ifstream file;
  if (arguments.recording != "-") {
    file.open(arguments.recording);
    // A directory can be opened; only reading from it fails.
    if (!file || std::filesystem::is_directory(arguments.recording)) {
      std::cerr << arguments.recording << ": cannot be read\n";
      return probe::kUnusable;
    }
  }
  probe::ReplayOutput output(std::cout);
  DirectLog(arguments.log_level, output);
  std::size_t line = 0;
  int status = 0;
  try {
    Replay(arguments.recording == "-" ? std::cin : file, arguments, output, line);
  } catch (const probe::recording::MalformedRecording& error) {
    std::cerr << arguments.recording << ":" << line << ": " << error.what() << "\n";
    status = kMalformed;
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    status = probe::kUnusable;
  }
  // A disk that is full shows here at the latest, and cut output must not pass for all of it.
  if (!std::cout.flush()) {
    std::cerr << "the output cannot be written\n";
    status = probe::kUnusable;
  }
  // The writer refers to `output`.
  probe::log::SetWriter({});
  return status;
}

}  // namespace

int main(int argc, char** argv) try {
  std::ios::sync_with_stdio(false);
  Arguments arguments;
  CLI::App app("Replays a recorded network through the plug-in and prints what comes out, as JSON Lines.");
  app.add_option("--plugin", arguments.plugin,
                 "The plug-in, libmonitor.so. Default: the one that came with this program")
      ->type_name("FILE");
  app.add_option("--log", arguments.log_level, "Also print the plug-in's log lines of this level and above")
      ->check(CLI::IsMember({"error", "info", "debug"}));
  app.add_flag("--timing", arguments.wants_timing, "At the end, print what the passes cost");
  app.add_option("RECORDING", arguments.recording, "A file of JSON Lines, or - for standard input")->required();
  app.set_version_flag("--version", std::string("probe-replay ") + probe::kVersionText, "Print the version and exit");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return Print(probe::ExitFor(app, error, {argv + 1, argv + argc}));
  }
  return Run(arguments);
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return probe::kUnusable;
}
