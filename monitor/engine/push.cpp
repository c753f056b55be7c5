#include "monitor/engine/push.h"

#include <memory>
#include <new>
#include <utility>

#include "monitor/engine/json_writer.h"
#include "platform/sending.h"

namespace monitoring {
namespace {

/// Adds one SID to every key that equals `filter`. False when there is none.
///
/// A walk over all keys, for filters have no order; distinct filters are few.
bool AppendToEqual(const Filter& filter, lws* connection, const std::string& sid, FilterEquality are_equal,
                   MergedList& merged) {
  bool is_found = false;
  for (auto& [representative, connections] : merged) {
    if (!are_equal(*representative, filter)) continue;
    connections[connection].push_back(sid);
    is_found = true;
  }
  return is_found;
}

}  // namespace

void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged) {
  MergeByFilter(subscriptions, merged, [](const Filter& left, const Filter& right) { return left == right; });
}

void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged, FilterEquality are_equal) {
  for (const auto& [sid, connections] : subscriptions) {
    for (const auto& [connection, filter] : connections) {
      if (filter == nullptr) continue;
      if (AppendToEqual(*filter, connection, sid, are_equal, merged)) continue;
      merged[filter.get()][connection].push_back(sid);
    }
  }
}

std::string Composed(const std::string& topic, const JsonTree& body) {
  /// Has json-c write the body as ever when the message is composed: it may get other SIDs.
  struct Restoring {
    json_object* body;
    ~Restoring() {
      if (body != nullptr) json_object_set_serializer(body, nullptr, nullptr, nullptr);
    }
  };
  const Restoring restoring{body.get()};
  if (body != nullptr) {
    auto text = std::make_shared<std::string>();
    AppendTree(*text, body.get());
    SerialiseAs(body, std::move(text));
  }
  std::string message = kro_utilities::jsonobject::compose_communication_struct(topic.c_str(), body.get());
  if (message.empty()) throw std::bad_alloc();
  return message;
}

void Send(lws* connection, const std::string& text) {
  // The host's heap was exhausted while it composed the text: an empty message is no JSON.
  if (text.empty()) return;
  // Asked anew for each message: the host may start or stop its server during a pass.
  const SalSendByCon send = GetSalSendByCon();
  if (send != nullptr) send(connection, text);
}

}  // namespace monitoring
