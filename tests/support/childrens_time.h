#pragma once

#include <sys/resource.h>
#include <sys/time.h>

namespace test {

/// The processor's time, in seconds, of all programs that this process started and that have ended.
inline double ChildrensProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace test
