#include "probe/metrics/process_figures.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>

namespace probe::metrics {
namespace {

std::string TextOf(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// When the machine was started, seconds since the epoch; 0: not known. proc(5), /proc/stat, btime
std::uint64_t BootTime() {
  std::istringstream lines(TextOf("/proc/stat"));
  std::string word;
  std::uint64_t time = 0;
  while (lines >> word) {
    if (word == "btime" && lines >> time) return time;
  }
  return 0;
}

std::optional<std::uint64_t> CountOpenFiles() {
  std::error_code error;
  const std::filesystem::directory_iterator files("/proc/self/fd", error);
  if (error) return std::nullopt;
  // One of them is that of the folder itself, which is open while it is read.
  return static_cast<std::uint64_t>(std::distance(begin(files), end(files))) - 1;
}

}  // namespace

ProcessFigures ReadProcessFigures() {
  ProcessFigures figures;
  const std::string text = TextOf("/proc/self/stat");
  // The program's name, the second field, stands in parentheses and may hold blanks.
  std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
  std::string skipped;
  std::uint64_t user_ticks = 0;
  std::uint64_t system_ticks = 0;
  std::uint64_t start_ticks = 0;
  std::uint64_t pages = 0;
  const auto skip = [&](int count) {
    for (int field = 0; field < count; ++field) fields >> skipped;
  };
  skip(11);  // from the third field, the state, to the thirteenth
  fields >> user_ticks >> system_ticks;
  skip(4);
  fields >> figures.threads;
  skip(1);
  fields >> start_ticks;
  skip(1);
  fields >> pages;
  const auto ticks_per_second = static_cast<double>(sysconf(_SC_CLK_TCK));
  figures.resident_octets = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  figures.processor_seconds = static_cast<double>(user_ticks + system_ticks) / ticks_per_second;
  figures.started_at = BootTime() + static_cast<std::uint64_t>(static_cast<double>(start_ticks) / ticks_per_second);
  figures.open_files = CountOpenFiles();
  return figures;
}

}  // namespace probe::metrics
