#pragma once

#include <sys/stat.h>

#include <string>

namespace probe {

/// A file that the configuration names.
struct NamedFile {
  std::string path;
  bool is_credential = false;  ///< It lies in the folder of the service manager's.
  std::string error;           ///< Why it is not known which file is meant; empty: it is.
};

/// The file that is named so: `${CREDENTIALS_DIRECTORY}` stands for the folder in which the service manager puts
/// secrets. Source: systemd.exec(5), LoadCredential. Threads: any, while nobody changes the environment.
NamedFile FileNamed(const std::string& name);

/// Stands for a secret that is not known, and only the service manager has.
inline constexpr const char* kUncheckedSecret = "a secret that only the service manager has";

/// Why a file is no place for a secret: its group or others may read or write it. Empty when they may not, and for what
/// is no regular file or isn't there. The text says what to do. `may_group_read` as below.
std::string WhyNotPrivate(const std::string& path, bool may_group_read = false);

/// The same of a file that is open, with this status.
std::string WhyNotPrivate(const struct stat& status, const std::string& path, bool may_group_read = false);

/// The first line of a file, or why it is not taken.
struct SecretLine {
  std::string text;   ///< without the end of the line; empty also when nothing can be read
  std::string error;  ///< not fit for a secret, as `WhyNotPrivate` has it, or the line is longer than any secret
};

/// Reads a secret from a file whose first line it is. What is looked at is what is read: a file that is put in its
/// place meanwhile is not.
///
/// `may_group_read`: for a folder of the service manager's, who shows a service's access as the group's.
SecretLine ReadSecretLine(const std::string& path, bool may_group_read = false);

}  // namespace probe
