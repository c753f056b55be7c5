#include "probe/server/refusal_log.h"

#include "probe/logging/log.h"

namespace probe {

void RefusalLog::Note(const std::string& who, const std::string& why, Clock::time_point now) {
  if (lines_ == 0 || now - minute_began_at_ >= std::chrono::minutes(1)) {
    if (left_out_ > 0) log::Info("[WebServer] %zu more clients were refused", left_out_);
    minute_began_at_ = now;
    lines_ = 0;
    left_out_ = 0;
  }
  if (lines_ == kLinesAMinute) {
    ++left_out_;
    return;
  }
  ++lines_;
  log::Info("[WebServer] a client at %s was refused: %s", who.c_str(), why.c_str());
}

}  // namespace probe
