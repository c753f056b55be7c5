#pragma once

#include <libwebsockets.h>

#include <chrono>
#include <functional>

namespace probe {

/// A timer of the library's event loop.
///
/// Threads: the server thread only. It must outlive the context that it was armed in.
class LibraryTimer {
 public:
  /// `on_due` is called on the server thread; it may arm the timer again.
  explicit LibraryTimer(std::function<void()> on_due);
  LibraryTimer(const LibraryTimer&) = delete;
  LibraryTimer& operator=(const LibraryTimer&) = delete;

  /// Has it become due once, after `delay`. One that is armed already stays as it is.
  void Arm(lws_context* context, std::chrono::microseconds delay);

 private:
  /// What the library keeps of a timer, with the timer that it belongs to.
  struct Entry {
    lws_sorted_usec_list_t node{};
    LibraryTimer* timer = nullptr;
  };

  static void OnDue(lws_sorted_usec_list_t* node);

  const std::function<void()> on_due_;
  Entry entry_;
  bool is_armed_ = false;
};

}  // namespace probe
