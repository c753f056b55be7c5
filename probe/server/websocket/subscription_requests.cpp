#include "probe/server/websocket/subscription_requests.h"

#include <optional>
#include <utility>
#include <vector>

#include "platform/subscriptions.h"
#include "probe/host/log.h"

namespace probe {
namespace {

/// SID -> filter, for exactly the SIDs that the plug-in found. Should it know a SID by another text than we do, then
/// the whole request stands for its filter: it is counted as one more, never as none.
std::map<std::string, std::string> FiltersOf(const subscribes::ParsedRequest& parsed, const SubscribeRequest& request) {
  std::map<std::string, std::string> filters;
  for (const auto& [sid, filter] : parsed) {
    const auto found = request.filters.find(sid);
    filters[sid] = found == request.filters.end() ? request.request : found->second;
  }
  return filters;
}

}  // namespace

SubscriptionRequests::SubscriptionRequests(const ServerLimits& limits, SubscriptionService& service, PushBudget& budget)
    : max_depth_(limits.message_depth), service_(service), budget_(budget), subscription_limits_(limits) {}

void SubscriptionRequests::Handle(ConnectionId connection, const std::string& topics, std::string_view text,
                                  const Reply& reply) {
  const log::RequestScope scope;  // the plug-in may write a line for each filter that it does not understand
  const ClientMessage message = ReadClientMessage(text, max_depth_);
  if (const auto* subscribe = std::get_if<SubscribeRequest>(&message))
    return Subscribe(connection, topics, *subscribe, reply);
  if (const auto* unsubscribe = std::get_if<UnsubscribeRequest>(&message))
    return Unsubscribe(connection, topics, *unsubscribe, reply);
  reply(ErrorText(std::get<ProtocolError>(message)));
}

void SubscriptionRequests::Subscribe(ConnectionId connection, const std::string& topics,
                                     const SubscribeRequest& request, const Reply& reply) {
  const std::string topic = topics + request.topic;
  const auto parsed = service_.Parse(topic, request.tree.get());
  if (!parsed) return reply(ErrorText({error_code::kUnknownTopic, "Nobody feeds this topic."}));
  if (parsed->empty())
    return reply(ErrorText({error_code::kEmptyRequest, R"("request" must name at least one subscription.)"}));
  const auto filters = FiltersOf(*parsed, request);
  if (const auto refused = subscription_limits_.Add(connection, topic, filters)) return reply(ErrorText(*refused));
  std::vector<std::string> sids;
  for (const auto& [sid, filter] : *parsed) sids.push_back(sid);
  reply(SubscribedText(request.topic, sids));
  // Before a pass can find the subscription. Messages name the topic as the client does.
  budget_.File(connection, request.topic, filters);
  service_.File(topic, connection, *parsed, request.request);
}

void SubscriptionRequests::Unsubscribe(ConnectionId connection, const std::string& topics,
                                       const UnsubscribeRequest& request, const Reply& reply) {
  const std::string topic = topics + request.topic;
  const bool was_filed = service_.Unsubscribe(topic, connection, request.sid);
  subscription_limits_.Remove(connection, topic, request.sid);
  budget_.Remove(connection, request.topic, request.sid);
  if (!was_filed)
    return reply(ErrorText({error_code::kUnknownSubscription, "This connection has no such subscription."}));
  reply(UnsubscribedText(request.topic, request.sid));
}

void SubscriptionRequests::Forget(ConnectionId connection) {
  subscription_limits_.RemoveAll(connection);
  service_.Disconnect(connection);
  budget_.Forget(connection);
}

}  // namespace probe
