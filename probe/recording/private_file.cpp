#include "probe/recording/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace probe::recording {
namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

std::string Reason(int error) {
  if (error == EEXIST) return "it is there already; --force writes over it";
  if (error == ELOOP) return "it is a symbolic link, and these are not followed";
  return std::generic_category().message(error);
}

/// A descriptor of the empty file `path`.
int Open(const std::string& path, bool may_overwrite) {
  const int how = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | (may_overwrite ? O_TRUNC : O_EXCL);
  const int file = open(path.c_str(), how, kOwnerOnly);
  if (file < 0) throw std::runtime_error(path + " cannot be written: " + Reason(errno));
  // What was there keeps its own permissions otherwise. A device is nobody's to change.
  struct stat state {};
  if (fstat(file, &state) == 0 && S_ISREG(state.st_mode) && fchmod(file, kOwnerOnly) != 0) {
    const int error = errno;
    close(file);
    throw std::runtime_error(path + " cannot be made private: " + Reason(error));
  }
  return file;
}

}  // namespace

PrivateFile::PrivateFile(const std::string& path, bool may_overwrite)
    : buffer_(Open(path, may_overwrite), std::ios::out), stream_(&buffer_) {}

}  // namespace probe::recording
