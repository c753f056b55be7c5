#include "probe/uplink/inbox.h"

#include <iterator>
#include <utility>

using utilities::lock::lock_guard;

namespace probe::uplink {

void Inbox::Put(std::vector<SpooledMessage> messages) {
  const lock_guard held(lock_);
  messages_.insert(messages_.end(), std::make_move_iterator(messages.begin()), std::make_move_iterator(messages.end()));
  CutOff();
}

std::vector<SpooledMessage> Inbox::TakeAll() {
  const lock_guard held(lock_);
  return std::exchange(messages_, {});
}

void Inbox::PutBack(std::vector<SpooledMessage> messages) {
  const lock_guard held(lock_);
  messages.insert(messages.end(), std::make_move_iterator(messages_.begin()), std::make_move_iterator(messages_.end()));
  messages_ = std::move(messages);
  CutOff();
}

std::uint64_t Inbox::cut() const {
  const lock_guard held(lock_);
  return cut_;
}

void Inbox::CutOff() {
  // From the newest backwards as long as the bound allows.
  std::size_t bytes = 0;
  auto first = messages_.end();
  while (first != messages_.begin()) {
    bytes += std::prev(first)->text.size();
    if (bytes > max_bytes_) break;
    --first;
  }
  cut_ += static_cast<std::uint64_t>(first - messages_.begin());
  messages_.erase(messages_.begin(), first);
}

}  // namespace probe::uplink
