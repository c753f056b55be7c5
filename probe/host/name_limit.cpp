#include "probe/host/name_limit.h"

#include <utility>

namespace probe {

bool NameLimit::Admit(const std::string& name) {
  if (names_.contains(name)) return true;
  if (names_.size() >= kMaxNames) {
    has_refused_ = true;
    return false;
  }
  names_.insert(name);
  return true;
}

bool NameLimit::TakeRefusal() {
  return has_refused_ && !std::exchange(is_reported_, true);
}

}  // namespace probe
