#pragma once

#include <string>

#include "platform/subscriptions.h"

namespace probe {

/// Decides which subscriptions of a topic a pass serves.
///
/// Threads: the engine's; called with no lock held.
class PushGate {
 public:
  virtual ~PushGate() = default;

  /// Takes out of the list what is not served now. To ask for a topic again begins another pass.
  virtual void Admit(const std::string& topic, subscribes::SubscriptionList& list) = 0;
};

}  // namespace probe
