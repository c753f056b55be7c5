#pragma once

#include <string>

#include "probe/settings/settings.h"
#include "probe/settings/settings_errors.h"
#include "probe/text/toml.h"

namespace probe {

/// Adds the groups of a list `[[access]]` to those of the centre, and their tokens to those of its server; groups with
/// an error are left out.
///
/// Reads the files that hold the tokens.
/// Fails: adds what is wrong to `errors`, never with a token in the text.
void ReadAccessGroups(const toml::node& list, SettingsErrors& errors, Settings& settings);

/// What an example of the configuration file says about the list, as comments.
std::string DescribeAccessGroups();

}  // namespace probe
