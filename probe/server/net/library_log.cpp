#include "probe/server/net/library_log.h"

#include <libwebsockets.h>

#include <string>

#include "platform/utilities/locks.h"
#include "probe/host/log.h"
#include "probe/server/net/log_rate_limiter.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

/// The budget of the process: the library knows one log only.
struct SharedBudget {
  utilities::lock::Mutex lock;
  LineBudget budget VEXORA_GUARDED_BY(lock);
};

SharedBudget& TheBudget() {
  static SharedBudget shared;
  return shared;
}

LineBudget::Verdict AskForALine() {
  SharedBudget& shared = TheBudget();
  const lock_guard held(shared.lock);
  return shared.budget.Ask(LineBudget::Clock::now());
}

void Write(int, const char* complaint) {
  const auto line = AskForALine();
  if (line.left_out > 0) log::Error("[WebServer] %zu more complaints of the library", line.left_out);
  if (!line.may_be_written) return;
  std::string text(complaint);
  text.erase(text.find_last_not_of("\r\n") + 1);
  log::Error("[WebServer] %s", text.c_str());
}

}  // namespace

void TakeOverLibraryLog() {
  {
    SharedBudget& shared = TheBudget();
    const lock_guard held(shared.lock);
    shared.budget = LineBudget{};
  }
  lws_set_log_level(LLL_ERR, &Write);
}

}  // namespace probe
