#include "probe/app/service_signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace probe {
namespace {

struct NamedSignal {
  int number;
  const char* name;
};
constexpr std::array<NamedSignal, 3> kSignals{{{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}}};

sigset_t SignalSet() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const NamedSignal& signal : kSignals) sigaddset(&signals, signal.number);
  return signals;
}

}  // namespace

ServiceSignals::ServiceSignals() : interrupted_(eventfd(0, EFD_CLOEXEC)) {
  const sigset_t signals = SignalSet();
  // Now: later, clients may hold all descriptors that there are.
  if (interrupted_ >= 0) arrivals_ = signalfd(-1, &signals, SFD_CLOEXEC);
  if (arrivals_ < 0) {
    const int error = errno;
    if (interrupted_ >= 0) close(interrupted_);
    throw std::system_error(error, std::generic_category(), "signals cannot be waited for");
  }
  pthread_sigmask(SIG_BLOCK, &signals, &former_);
}

ServiceSignals::~ServiceSignals() {
  close(arrivals_);
  close(interrupted_);
  pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

const char* ServiceSignals::Wait() {
  std::array<pollfd, 2> events{{{arrivals_, POLLIN, 0}, {interrupted_, POLLIN, 0}}};
  while (poll(events.data(), events.size(), -1) < 0) continue;  // another signal's handler ran
  // Reading takes the signal off the pending ones; else it would end the process when the former mask is restored.
  signalfd_siginfo signal{};
  const bool is_signal = events[0].revents != 0 && read(arrivals_, &signal, sizeof signal) == sizeof signal;
  if (!is_signal) return nullptr;
  const auto* const found = std::find_if(kSignals.begin(), kSignals.end(), [&](const NamedSignal& one) {
    return static_cast<std::uint32_t>(one.number) == signal.ssi_signo;
  });
  return found->name;
}

void ServiceSignals::Interrupt() {
  eventfd_write(interrupted_, 1);
}

}  // namespace probe
