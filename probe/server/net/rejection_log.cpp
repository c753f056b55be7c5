#include "probe/server/net/rejection_log.h"

#include "probe/host/log.h"

namespace probe {

void RejectionLog::Note(const std::string& who, const std::string& why, Clock::time_point now) {
  const auto line = budget_.Ask(now);
  if (line.left_out > 0) log::Info("[WebServer] %zu more clients were refused", line.left_out);
  if (line.may_be_written) log::Info("[WebServer] a client at %s was refused: %s", who.c_str(), why.c_str());
}

}  // namespace probe
