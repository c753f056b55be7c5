#pragma once

#include <string>

namespace probe {

/// Why a file is no place for a secret: its group or others may read or write it. Empty when they may not, and for what
/// is no regular file or isn't there. The text says what to do.
std::string WhyNotPrivate(const std::string& path);

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
