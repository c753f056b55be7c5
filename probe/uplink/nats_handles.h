#pragma once

#include <nats/nats.h>

#include <memory>

namespace probe::uplink {

/// Releases a handle of the NATS client library.
template <auto kRelease>
struct ReleaseNats {
  template <typename Handle>
  void operator()(Handle* handle) const noexcept {
    kRelease(handle);
  }
};

using NatsOptions = std::unique_ptr<natsOptions, ReleaseNats<&natsOptions_Destroy>>;
using NatsConnection = std::unique_ptr<natsConnection, ReleaseNats<&natsConnection_Destroy>>;
using NatsSubscription = std::unique_ptr<natsSubscription, ReleaseNats<&natsSubscription_Destroy>>;
using NatsMessage = std::unique_ptr<natsMsg, ReleaseNats<&natsMsg_Destroy>>;
using NatsStatistics = std::unique_ptr<natsStatistics, ReleaseNats<&natsStatistics_Destroy>>;

}  // namespace probe::uplink
