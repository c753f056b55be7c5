#include "probe/sources/snmp/stop_event.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace probe::snmp {

StopEvent::StopEvent() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopEvent::~StopEvent() {
  close(descriptor_);
}

void StopEvent::Set() {
  // Nobody reads the counter, so that the descriptor stays readable; a second write can at worst find it full.
  eventfd_write(descriptor_, 1);
}

bool StopEvent::is_set() const {
  pollfd readable{.fd = descriptor_, .events = POLLIN, .revents = 0};
  return poll(&readable, 1, 0) > 0;
}

}  // namespace probe::snmp
