#pragma once

#include <string>
#include <vector>

namespace CLI {  // NOLINT(readability-identifier-naming): the name of the library
class App;
}

namespace probe {

/// What is wrong with the first option of a command line that its program does not have: `There is no option --prot;
/// did you mean "--port"?`. Options are words that begin with "--", up to a word that is just that; `known` are the
/// names of those that there are, with "--" in front.
///
/// Fails: an empty text where all are known.
std::string UnknownOption(const std::vector<std::string>& words, const std::vector<std::string>& known);

/// The names of the options of a program, and of those of its subcommands that were named: "--port".
std::vector<std::string> OptionsOf(const CLI::App& app);

}  // namespace probe
