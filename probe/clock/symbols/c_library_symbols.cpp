// `time`, `gettimeofday` and `sleep` over the installed clock. An executable that links this object and exports its
// symbols gives that clock to every library in the process, the plug-in included, whose binary stays the same.

#include <sys/time.h>
#include <unistd.h>

#include <ctime>

#include "probe/clock/clock.h"

extern "C" {

time_t time(time_t* out) noexcept {
  const time_t now = probe::InstalledClock().Now().tv_sec;
  if (out != nullptr) *out = now;
  return now;
}

int gettimeofday(timeval* __restrict out, void* __restrict /*timezone*/) noexcept {
  *out = probe::InstalledClock().Now();
  return 0;
}

unsigned sleep(unsigned seconds) {
  return probe::InstalledClock().Sleep(seconds);
}

}  // extern "C"
