#include "probe/server/net/library_timer.h"

#include <utility>

namespace probe {

LibraryTimer::LibraryTimer(std::function<void()> on_due) : on_due_(std::move(on_due)) {
  entry_.timer = this;
}

void LibraryTimer::Arm(lws_context* context, std::chrono::microseconds delay) {
  if (std::exchange(is_armed_, true)) return;
  lws_sul_schedule(context, 0, &entry_.node, &LibraryTimer::OnDue, delay.count());
}

void LibraryTimer::OnDue(lws_sorted_usec_list_t* node) {
  LibraryTimer& timer = *lws_container_of(node, Entry, node)->timer;
  timer.is_armed_ = false;
  timer.on_due_();
}

}  // namespace probe
