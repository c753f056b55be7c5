#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace probe {

/// `vexora-probe profiles check FILE [--walk WALK]`: says whether a profile is right and what it is for, and with a
/// walk what would be read of that device. `folders` are those of the profiles that it may extend.
///
/// Returns the exit code: 0 for a profile that is right, 2 for one that is not, whose errors go to `errors`.
int CheckProfileCommand(const std::filesystem::path& file, const std::string& walk,
                        const std::vector<std::filesystem::path>& folders, std::ostream& out, std::ostream& errors);

/// `vexora-probe profiles list`: the profiles, and the devices that they are for.
///
/// Returns the exit code: 0, or 2 where a profile is wrong.
int ListProfilesCommand(const std::vector<std::filesystem::path>& folders, std::ostream& out, std::ostream& errors);

}  // namespace probe
