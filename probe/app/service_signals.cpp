#include "probe/app/service_signals.h"

#include <fcntl.h>
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

/// Whether the process has a controlling terminal. The kernel takes it away before it sends SIGHUP for one that was
/// closed. tty(4)
bool HasTerminal() {
  const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
  if (terminal >= 0) close(terminal);
  // Other errors do not tell: clients may hold all descriptors that there are.
  return terminal >= 0 || (errno != ENXIO && errno != EIO);
}

/// Whether whoever started the process meant it to survive its terminal, as nohup does. The signal is queued in spite
/// of that, since it is blocked. sigaction(2)
bool IsHangUpIgnored() {
  struct sigaction action {};
  sigaction(SIGHUP, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

}  // namespace

ServiceSignals::ServiceSignals()
    : interrupted_(eventfd(0, EFD_CLOEXEC)), ends_with_terminal_(!IsHangUpIgnored() && HasTerminal()) {
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

bool ServiceSignals::IsTerminalGone() const {
  return ends_with_terminal_ && !HasTerminal();
}

void ServiceSignals::Interrupt() {
  eventfd_write(interrupted_, 1);
}

}  // namespace probe
