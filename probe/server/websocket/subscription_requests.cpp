#include "probe/server/websocket/subscription_requests.h"

#include <json-c/json.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "probe/text/json_c_handle.h"

namespace probe {
namespace {

/// The request as the tree that crosses the contract; null when the client sent none.
JsonCHandle TreeOf(const std::string& request, std::size_t max_depth) {
  if (request.empty()) return nullptr;
  const std::unique_ptr<json_tokener, decltype(&json_tokener_free)> tokener(
      json_tokener_new_ex(static_cast<int>(max_depth) + 1), &json_tokener_free);
  if (tokener == nullptr) return nullptr;
  const int length = static_cast<int>(request.size());
  return JsonCHandle(json_tokener_parse_ex(tokener.get(), request.c_str(), length));
}

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

RequestDesk::RequestDesk(const ServerLimits& limits, SubscriptionService& service)
    : max_depth_(limits.message_depth), service_(service), ledger_(limits) {}

void RequestDesk::Handle(ConnectionId connection, std::string_view text, const Reply& reply) {
  const ClientMessage message = ReadClientMessage(text, max_depth_);
  if (const auto* subscribe = std::get_if<SubscribeRequest>(&message)) return Subscribe(connection, *subscribe, reply);
  if (const auto* unsubscribe = std::get_if<UnsubscribeRequest>(&message))
    return Unsubscribe(connection, *unsubscribe, reply);
  reply(ErrorText(std::get<ProtocolError>(message)));
}

void RequestDesk::Subscribe(ConnectionId connection, const SubscribeRequest& request, const Reply& reply) {
  const JsonCHandle tree = TreeOf(request.request, max_depth_);
  const auto parsed = service_.Parse(request.topic, tree.get());
  if (!parsed) return reply(ErrorText({error_code::kUnknownTopic, "Nobody feeds this topic."}));
  if (parsed->empty())
    return reply(ErrorText({error_code::kEmptyRequest, R"("request" must name at least one subscription.)"}));
  if (const auto refused = ledger_.Enter(connection, request.topic, FiltersOf(*parsed, request)))
    return reply(ErrorText(*refused));
  std::vector<std::string> sids;
  for (const auto& [sid, filter] : *parsed) sids.push_back(sid);
  reply(SubscribedText(request.topic, sids));
  service_.File(request.topic, connection, *parsed, request.request);
}

void RequestDesk::Unsubscribe(ConnectionId connection, const UnsubscribeRequest& request, const Reply& reply) {
  const bool was_filed = service_.Unsubscribe(request.topic, connection, request.sid);
  ledger_.Remove(connection, request.topic, request.sid);
  if (!was_filed)
    return reply(ErrorText({error_code::kUnknownSubscription, "This connection has no such subscription."}));
  reply(UnsubscribedText(request.topic, request.sid));
}

void RequestDesk::Forget(ConnectionId connection) {
  ledger_.RemoveAll(connection);
  service_.Disconnect(connection);
}

}  // namespace probe
