#pragma once

#include <string>
#include <vector>

namespace CLI {  // NOLINT(readability-identifier-naming): the name of the library
class App;
class ParseError;
}  // namespace CLI

namespace probe {

/// Exit code of a program whose command line or configuration cannot be used.
inline constexpr int kUnusable = 2;

/// A command line that a program answers with a text before it exits: help, version or an error.
struct CommandLineExit {
  int exit_code = 0;  ///< 0 for what was asked for, 2 for a command line that cannot be used.
  std::string text;   ///< For standard output in the first case, standard error in the second; ends with a line end.
};

/// What comes of a command line that the parser did not take: help and version, or what is wrong with it.
///
/// `words`: the command line without the name of the program.
CommandLineExit ExitFor(const CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& words);

/// Writes the text where it belongs, each line of an error behind `prefix`. Returns the exit code.
int Print(const CommandLineExit& exit, const std::string& prefix = {});

}  // namespace probe
