#include "tests/support/log_capture.h"

namespace test {
using probe::log::Level;
using utilities::lock::lock_guard;

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << probe::log::LevelName(line.level) << " " << line.module << " " << line.text;
}

LogCapture::LogCapture() {
  probe::log::SetLevel(Level::kDebug);
  probe::log::SetWriter([this](Level level, int module, const std::string& text) {
    const lock_guard held(lock_);
    lines_.push_back({level, module, text});
  });
}

LogCapture::~LogCapture() {
  probe::log::SetWriter({});
  probe::log::SetLevel(Level::kInfo);
}

std::vector<LogLine> LogCapture::Lines() const {
  const lock_guard held(lock_);
  return lines_;
}

std::vector<std::string> LogCapture::Texts(Level level, const std::string& part) const {
  std::vector<std::string> texts;
  for (const LogLine& line : Lines()) {
    if (line.level == level && line.text.find(part) != std::string::npos) texts.push_back(line.text);
  }
  return texts;
}

void LogCapture::Forget() {
  const lock_guard held(lock_);
  lines_.clear();
}

}  // namespace test
