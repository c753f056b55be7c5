#include "monitor/engine/push.h"

#include <iterator>
#include <map>
#include <new>
#include <tuple>
#include <utility>

#include "platform/sending.h"

namespace monitoring {
void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged) {
  MergeByFilter(subscriptions, merged, [](const Filter& left, const Filter& right) {
    return std::tie(left.interval, left.mac) < std::tie(right.interval, right.mac);
  });
}

void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged, FilterOrder is_before) {
  const auto order = [is_before](const Filter* left, const Filter* right) { return is_before(*left, *right); };
  // Several keys that are there already may be equal: each gets the SID.
  std::multimap<const Filter*, MergedList::mapped_type*, decltype(order)> classes(order);
  for (auto& [filter, connections] : merged) classes.emplace(filter, &connections);
  for (const auto& [sid, connections] : subscriptions) {
    for (const auto& [connection, filter] : connections) {
      if (filter == nullptr) continue;
      auto [first, last] = classes.equal_range(filter.get());
      if (first == last) {
        first = classes.emplace_hint(last, filter.get(), &merged[filter.get()]);
        last = std::next(first);
      }
      for (auto of_class = first; of_class != last; ++of_class) (*of_class->second)[connection].push_back(sid);
    }
  }
}

std::string Composed(const std::string& topic, const JsonTree& body) {
  SerialiseWhole(body);
  std::string message = kro_utilities::jsonobject::compose_communication_struct(topic.c_str(), body.get());
  if (message.empty()) throw std::bad_alloc();  // the host found no memory
  return message;
}

void Send(lws* connection, const std::string& text) {
  // Asked anew for each message: the host may start or stop its server during a pass.
  const SalSendByCon send = GetSalSendByCon();
  if (send != nullptr) send(connection, text);
}

}  // namespace monitoring
