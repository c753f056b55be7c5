#include "probe/settings/settings_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "probe/settings/secret_file.h"

namespace probe {
namespace {

constexpr const char* kEnding = ".toml";

std::string CannotBeRead(int error) {
  std::string text = "cannot be read: " + std::generic_category().message(error);
  // A service has another user than those who try its files.
  if (error == EACCES) text += ", for the user with the number " + std::to_string(geteuid());
  return text;
}

/// Why what stands beside the main file is not used; empty: it is.
std::string WhyRefused(const struct stat& status, uid_t owner) {
  if (status.st_uid != 0 && status.st_uid != owner) {
    return "is refused: neither root nor the owner of the main file owns it";
  }
  return (status.st_mode & S_IWOTH) != 0 ? "is refused: everybody may write it" : "";
}

/// Reads all of an open file. Returns errno, or 0.
int ReadAll(int file, std::string& text) {
  constexpr std::size_t kChunk = 65536;
  std::size_t size = 0;
  while (true) {
    text.resize(size + kChunk);
    const ssize_t count = read(file, text.data() + size, kChunk);
    if (count < 0 && errno == EINTR) continue;
    if (count > 0) size += static_cast<std::size_t>(count);
    if (count > 0) continue;
    const int error = count < 0 ? errno : 0;
    text.resize(size);
    return error;
  }
}

/// `owner`: whose drop-ins are taken; nothing for the main file, which may be a pipe, too.
SettingsFile ReadFile(const std::string& path, std::optional<uid_t> owner = {}) {
  SettingsFile read{path, {}, {}, {}};
  // A drop-in may be a pipe into which nobody writes: its opening must not block.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | (owner ? O_NONBLOCK : 0));
  if (file < 0) {
    read.error = CannotBeRead(errno);
    return read;
  }
  struct stat status {};
  if (fstat(file, &status) != 0) {
    read.error = CannotBeRead(errno);
  } else if (owner && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
    read.error = "is refused: it is no regular file";
  } else if (owner) {
    read.error = WhyRefused(status, *owner);
  }
  if (read.error.empty()) {
    if (const int error = ReadAll(file, read.text); error != 0) read.error = CannotBeRead(error);
    read.not_private = WhyNotPrivate(status, path);
  }
  close(file);
  return read;
}

}  // namespace

std::vector<SettingsFile> ReadSettingsFiles(const std::string& main_file, const std::string& folder_name) {
  std::vector<SettingsFile> files{ReadFile(main_file)};
  const std::filesystem::path folder = std::filesystem::path(main_file).replace_filename(folder_name);
  struct stat status {};
  const uid_t owner = stat(main_file.c_str(), &status) == 0 ? status.st_uid : geteuid();
  if (stat(folder.c_str(), &status) == 0) {
    if (std::string why = WhyRefused(status, owner); !why.empty()) {
      files.push_back({folder, {}, std::move(why), {}});
      return files;
    }
  }
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    std::string name = at->path().filename();
    if (name.ends_with(kEnding) && !name.starts_with('.')) names.push_back(std::move(name));
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    files.push_back({folder, {}, CannotBeRead(error.value()), {}});
  }
  std::ranges::sort(names);
  for (const std::string& name : names) files.push_back(ReadFile(folder / name, owner));
  return files;
}

}  // namespace probe
