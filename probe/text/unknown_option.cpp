#include "probe/text/unknown_option.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "probe/text/nearest_word.h"
#include "probe/text/utf8.h"

namespace probe {

std::string UnknownOption(const std::vector<std::string>& words, const std::vector<std::string>& known) {
  for (const std::string& word : words) {
    if (word == "--") break;
    if (!word.starts_with("--")) continue;
    const std::string name = word.substr(0, word.find('='));
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    return "There is no option " + PrintableLine(name) + DidYouMean(name, known);
  }
  return {};
}

std::vector<std::string> OptionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (const CLI::App* subcommand : app.get_subcommands()) {
    for (std::string& name : OptionsOf(*subcommand)) names.push_back(std::move(name));
  }
  return names;
}

}  // namespace probe
