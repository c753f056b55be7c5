#include "probe/journal/open_journal.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <system_error>
#include <thread>

#include "probe/host/log.h"

namespace probe::journal {
namespace {

/// Source: XDG Base Directory Specification. Empty when nothing tells where the user's home is.
std::string UserStateDirectory() {
  const char* const state = std::getenv("XDG_STATE_HOME");  // NOLINT(concurrency-mt-unsafe): nobody sets it
  if (state != nullptr && *state == '/') return std::string(state) + "/vexora";
  const char* const home = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe)
  return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/vexora" : std::string();
}

/// What is wrong may pass: the probe that is being replaced still writes its last passes, or descriptors are short.
/// Fails: throws `std::system_error`, at once where the folder is for others.
std::unique_ptr<JournalFolder> Open(const std::string& state_directory, bool is_simulated) {
  constexpr std::chrono::seconds kPatience{2};
  constexpr std::chrono::milliseconds kBetweenTries{100};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (true) {
    try {
      return std::make_unique<JournalFolder>(JournalPathIn(state_directory, is_simulated));
    } catch (const std::system_error& error) {
      if (IsForOthers(error.code()) || std::chrono::steady_clock::now() >= deadline) throw;
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
}

}  // namespace

std::string JournalPathIn(const std::string& state_directory, bool is_simulated) {
  return (std::filesystem::path(state_directory) / (is_simulated ? "journal-simulated" : "journal")).string();
}

bool IsForOthers(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
         error == std::errc::read_only_file_system || error == std::errc::no_such_file_or_directory;
}

std::unique_ptr<JournalFolder> OpenJournal(const JournalSettings& settings, bool is_simulated) {
  std::string why;
  try {
    return Open(settings.state_directory, is_simulated);
  } catch (const std::system_error& error) {
    why = error.what();
    const std::string other = settings.state_directory == kDefaultStateDirectory ? UserStateDirectory() : "";
    if (!other.empty() && IsForOthers(error.code())) {
      try {
        auto folder = Open(other, is_simulated);
        log::Warning("[Journal] %s cannot be written: the journal is kept in %s", settings.state_directory.c_str(),
                     folder->path().c_str());
        return folder;
      } catch (const std::system_error& second) {
        why += "; " + std::string(second.what());
      }
    }
  }
  log::Error("[Journal] there is none: %s. A restart will lose all histories", why.c_str());
  return nullptr;
}

}  // namespace probe::journal
