#pragma once

#include <functional>
#include <string>

namespace probe {

/// Why the plug-in is to forget a device.
enum class CleanUpReason {
  kRemoved,       ///< Somebody has removed it: the journal forgets it as well.
  kNotConfigured  ///< The configuration names it no longer. It may come back, and the journal keeps what it has.
};

/// Calls the clean-up function that the plug-in registered, if any, then whoever observes clean-ups. Threads: any, with
/// no lock held.
void CleanUpDevice(const std::string& mac, CleanUpReason reason = CleanUpReason::kRemoved);

/// Has the plug-in's clean-up function wait: from now on `CleanUpDevice` tells the observer and notes the MAC, and the
/// plug-in hears of it when `hold` is false again.
/// Threads: any.
void HoldCleanUps(bool hold);

/// Where passes are written down, a clean-up is made between two of them, so that what is written tells in which order:
/// between these two calls `CleanUpDevice` only notes the MAC, and the second does what was noted. The first waits for
/// clean-ups that are under way.
///
/// Threads: the engine's, with no lock held.
void HoldCleanUpsForPass();
void ReleaseCleanUpsAfterPass();

/// Calls the plug-in's clean-up function at once, and nobody else. Threads: as `CleanUpDevice`.
void CallMemoryCleanup(const std::string& mac);

/// Tells `observer` of every clean-up that is done from now on; an empty function: nobody.
///
/// Threads: any. A call that was under way is over when this returns.
void SetCleanUpObserver(std::function<void(const std::string& mac, CleanUpReason reason)> observer);

}  // namespace probe
