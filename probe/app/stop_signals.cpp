#include "probe/app/stop_signals.h"

namespace probe {
namespace {

sigset_t BothSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

}  // namespace

StopSignals::StopSignals() {
  const sigset_t signals = BothSignals();
  pthread_sigmask(SIG_BLOCK, &signals, &former_);
}

StopSignals::~StopSignals() {
  pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

const char* StopSignals::Wait() {
  const sigset_t signals = BothSignals();
  int signal = 0;
  while (sigwait(&signals, &signal) != 0) continue;
  return signal == SIGINT ? "SIGINT" : "SIGTERM";
}

}  // namespace probe
