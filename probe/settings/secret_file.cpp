#include "probe/settings/secret_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include "probe/text/secret.h"

namespace probe {
namespace {

// More than anybody types, and more than a line needs.
constexpr std::size_t kMaxBytes = 4096;

/// Reads until the line ends, the file does, or there is more than a secret has.
std::string ReadFirstLine(int file) {
  // Without a stream, whose buffer would keep a copy.
  std::string text(kMaxBytes + 1, '\0');
  std::size_t size = 0;
  while (size < text.size() && text.find('\n') >= size) {
    const ssize_t count = read(file, text.data() + size, text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  text.resize(size);
  if (const std::size_t end = text.find('\n'); end != std::string::npos) text.resize(end);
  return text;
}

}  // namespace

NamedFile FileNamed(const std::string& name) {
  static const std::string variable = "${CREDENTIALS_DIRECTORY}";
  const std::size_t at = name.find(variable);
  if (at == std::string::npos) return {name, false, {}};
  NamedFile file{name, true, {}};
  if (const char* const folder =
          std::getenv("CREDENTIALS_DIRECTORY")) {  // NOLINT(concurrency-mt-unsafe): nobody sets it
    file.path.replace(at, variable.size(), folder);
  } else {
    file.error = "the service manager gave no CREDENTIALS_DIRECTORY";
  }
  return file;
}

std::string WhyNotPrivate(const struct stat& status, const std::string& path, bool may_group_read) {
  if (!S_ISREG(status.st_mode)) return {};
  const mode_t readers = S_IROTH | (may_group_read ? 0 : S_IRGRP);
  const bool is_read = (status.st_mode & readers) != 0;
  if (!is_read && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return {};
  return "\"" + path + "\" holds a secret and can be " + (is_read ? "read" : "written") + " by others: chmod 600 " +
         path;
}

std::string WhyNotPrivate(const std::string& path, bool may_group_read) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? WhyNotPrivate(status, path, may_group_read) : std::string();
}

SecretLine ReadSecretLine(const std::string& path, bool may_group_read) {
  SecretLine line;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return line;
  struct stat status {};
  if (fstat(file, &status) == 0) line.error = WhyNotPrivate(status, path, may_group_read);
  if (line.error.empty()) line.text = ReadFirstLine(file);
  close(file);
  if (line.text.size() > kMaxBytes) {
    Wipe(line.text);
    line.text.clear();
    line.error = "the line of \"" + path + "\" has more than " + std::to_string(kMaxBytes) + " octets";
  }
  if (line.text.ends_with('\r')) line.text.pop_back();  // the line of an editor that ends its lines so
  return line;
}

}  // namespace probe
