#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "fuzz/require.h"
#include "probe/server/websocket/envelope_key.h"
#include "probe/server/websocket/protocol.h"
#include "probe/text/utf8.h"

using fuzzing::Require;

namespace {

constexpr std::size_t kDepth = 16;

/// An answer of ours is always UTF-8 and never a message of a client.
void RequireFitAnswer(const std::string& text) {
  Require(probe::IsUtf8(text));
  const auto read_back = probe::ReadClientMessage(text, kDepth);
  Require(std::get<probe::ProtocolError>(read_back).code == probe::error_code::kUnknownMessage);
}

/// What was read of a subscription, written out, reads as the same again.
void RequireStable(const probe::SubscribeRequest& subscribe) {
  std::vector<std::string> sids;
  for (const auto& [sid, filter] : subscribe.filters) sids.push_back(sid);
  RequireFitAnswer(probe::SubscribedText(subscribe.topic, sids));
  if (subscribe.request.empty()) {
    Require(subscribe.filters.empty());
    return;
  }
  const std::string again = R"({"subscribe":{"topic":"","request":)" + subscribe.request + "}}";
  const auto read_back = probe::ReadClientMessage(again, kDepth);
  const auto* same = std::get_if<probe::SubscribeRequest>(&read_back);
  Require(same != nullptr && same->request == subscribe.request && same->filters == subscribe.filters);
}

void RequireClearError(const probe::ProtocolError& error) {
  Require(!error.code.empty() && !error.message.empty());
  RequireFitAnswer(probe::ErrorText(error));
}

}  // namespace

/// Octets of a client as a message, and the same octets as an envelope on its way out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto message = probe::ReadClientMessage(text, kDepth);
  Require(probe::IsUtf8(text) || std::holds_alternative<probe::ProtocolError>(message));
  if (const auto* subscribe = std::get_if<probe::SubscribeRequest>(&message)) RequireStable(*subscribe);
  if (const auto* unsubscribe = std::get_if<probe::UnsubscribeRequest>(&message))
    RequireFitAnswer(probe::UnsubscribedText(unsubscribe->topic, unsubscribe->sid));
  if (const auto* error = std::get_if<probe::ProtocolError>(&message)) RequireClearError(*error);
  for (const std::string& sid : probe::SidsOf(text)) Require(sid.size() <= size);
  Require(probe::TopicOf(text).size() <= size);
  return 0;
}
