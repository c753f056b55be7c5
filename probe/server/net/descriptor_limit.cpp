#include "probe/server/net/descriptor_limit.h"

#include <sys/resource.h>

#include <algorithm>

#include "probe/host/log.h"
#include "probe/server/net/connection_limiter.h"

namespace probe {

std::size_t RaiseDescriptorLimit(std::size_t wanted) {
  constexpr std::size_t kBesides = ConnectionLimiter::kMaxRejected + kOtherDescriptors;
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted + kBesides) return wanted;
  limit.rlim_cur = std::min<rlim_t>(wanted + kBesides, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur >= wanted + kBesides) return wanted;
  const std::size_t affordable = limit.rlim_cur > kBesides ? limit.rlim_cur - kBesides : 1;
  log::Error("[WebServer] the system allows %llu open files, enough for no more than limits.connections = %zu",
             static_cast<unsigned long long>(limit.rlim_cur), affordable);
  return affordable;
}

}  // namespace probe
