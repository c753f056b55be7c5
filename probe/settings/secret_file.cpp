#include "probe/settings/secret_file.h"

#include <sys/stat.h>

namespace probe {

std::string WhyNotPrivate(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  if ((status.st_mode & (S_IRGRP | S_IROTH)) == 0) return {};
  return "\"" + path + "\" holds a secret and can be read by others: chmod 600 " + path;
}

}  // namespace probe
