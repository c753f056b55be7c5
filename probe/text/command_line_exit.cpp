#include "probe/text/command_line_exit.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>

#include "probe/text/unknown_option.h"

namespace probe {

CommandLineExit ExitFor(const CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& words) {
  std::ostringstream asked_for;
  std::ostringstream complaint;
  // CLI11 throws for --help and --version, too, whose exit code is 0.
  if (app.exit(error, asked_for, complaint) == 0) return {0, asked_for.str()};
  // What is missing, as another error would have it, is often only what was written after the unknown option.
  const std::string unknown = UnknownOption(words, OptionsOf(app));
  return {kUnusable, unknown.empty() ? complaint.str() : unknown + "\nRun with --help for more information.\n"};
}

int Print(const CommandLineExit& exit, const std::string& prefix) {
  if (exit.exit_code == 0) {
    std::fputs(exit.text.c_str(), stdout);
    return 0;
  }
  std::istringstream lines(exit.text);
  for (std::string line; std::getline(lines, line);) std::fprintf(stderr, "%s%s\n", prefix.c_str(), line.c_str());
  return exit.exit_code;
}

}  // namespace probe
