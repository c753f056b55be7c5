#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"

namespace probe::snmp {

/// Profiles that cannot be used. The text is fit for an administrator: one line for each thing that is wrong, each of
/// them "FILE:LINE: KEY: what is wrong".
class ProfileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The profile that a device is read with, and the reason in words.
struct ProfileMatch {
  const Profile* profile = nullptr;  ///< Null only in a catalogue without the profile "generic".
  std::string why;                   ///< "sysObjectID 1.3.6.1.4.1.11863.5.190 begins with 1.3.6.1.4.1.11863.5".
};

/// All profiles that there are.
///
/// Owner:   whoever loads it; it outlives those who hold a profile of it.
/// Threads: any; it does not change after loading.
class ProfileCatalogue {
 public:
  /// The profile of devices that no other is for.
  static constexpr std::string_view kGeneric = "generic";

  /// An empty one.
  ProfileCatalogue() = default;

  /// Reads every file "*.toml" of the folders. A file of a later folder takes the place of one of the same name in an
  /// earlier folder. A folder that does not exist holds none.
  ///
  /// Fails: throws `ProfileError` with all that is wrong in any file.
  explicit ProfileCatalogue(const std::vector<std::filesystem::path>& folders);

  /// The profile of this name, or null.
  const Profile* Find(std::string_view name) const;

  /// The profile for a device: the one with the longest prefix of `sys_object_id`; among those equally long one whose
  /// description pattern matches before one without a pattern; then the first by name. Else the generic one.
  ProfileMatch Match(const Oid& sys_object_id, std::string_view sys_descr) const;

  /// All, in the order of their names.
  const std::vector<Profile>& profiles() const { return profiles_; }

 private:
  std::vector<Profile> profiles_;
};

/// Where profiles are looked for: those that came with this executable, beside its folder as in the install, and the
/// system's own, which take their place.
std::vector<std::filesystem::path> ProfileFolders();

/// The profile in a text, which may extend those in the folders.
///
/// Fails: throws `ProfileError` for what is wrong in it, or in what it extends.
Profile ParseProfile(std::string_view text, const std::string& name, const std::string& file,
                     const std::vector<std::filesystem::path>& folders);

/// The same for a file. Fails: as above, and for a file that cannot be read.
Profile CheckProfile(const std::filesystem::path& file, const std::vector<std::filesystem::path>& folders);

}  // namespace probe::snmp
