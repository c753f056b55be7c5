#include "probe/app/service_signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>

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

ServiceSignals::ServiceSignals() : interrupted_(eventfd(0, EFD_CLOEXEC)) {
  const sigset_t signals = BothSignals();
  pthread_sigmask(SIG_BLOCK, &signals, &former_);
}

ServiceSignals::~ServiceSignals() {
  close(interrupted_);
  pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

const char* ServiceSignals::Wait() {
  const sigset_t signals = BothSignals();
  const int arrivals = signalfd(-1, &signals, SFD_CLOEXEC);
  std::array<pollfd, 2> events{{{arrivals, POLLIN, 0}, {interrupted_, POLLIN, 0}}};
  while (poll(events.data(), events.size(), -1) < 0) continue;  // another signal's handler ran
  // Reading takes the signal off the pending ones; else it would end the process when the former mask is restored.
  signalfd_siginfo signal{};
  const bool is_signal = events[0].revents != 0 && read(arrivals, &signal, sizeof signal) == sizeof signal;
  close(arrivals);
  if (!is_signal) return nullptr;
  return signal.ssi_signo == SIGINT ? "SIGINT" : "SIGTERM";
}

void ServiceSignals::Interrupt() {
  eventfd_write(interrupted_, 1);
}

}  // namespace probe
