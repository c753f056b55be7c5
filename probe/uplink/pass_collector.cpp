#include "probe/uplink/pass_collector.h"

#include <json-c/json.h>

#include <array>
#include <new>
#include <utility>

#include "platform/topics.h"
#include "probe/api/latest_messages.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/text/json_c_handle.h"

using utilities::lock::lock_guard;

namespace probe::uplink {

bool GoesUp(const StandardFilter& filter) {
  return filter.variant.empty() || filter.variant == monitoring::kView1m || filter.variant == kOrderThatGoesUp;
}

std::string IdOfTime(time_t at) {
  tm utc{};
  gmtime_r(&at, &utc);
  std::array<char, 32> text{};
  return {text.data(), strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

PassCollector::PassCollector(Taker take) : take_(std::move(take)) {}

void PassCollector::Subscribe(WebServer& server, SubscriptionService& service) {
  for (const StandardFilter& wanted : StandardFilters()) {
    if (!GoesUp(wanted)) continue;
    const std::string request = R"([{"sid":"uplink","filter":)" + wanted.filter + "}]";
    const JsonCHandle tree(json_tokener_parse(request.c_str()));
    const auto parsed = service.Parse(wanted.topic, tree.get());
    if (!parsed) continue;
    // A connection for each topic: a limit of what one connection is sent then cuts none of them off.
    const ConnectionId connection =
        server.AddLocalReceiver([gathered = gathered_, topic = wanted.topic](const std::string& text) {
          const lock_guard held(gathered->lock);
          if (!gathered->pass) return;
          try {
            gathered->messages.push_back({0, topic, IdOfTime(*gathered->pass), *gathered->pass, text});
          } catch (const std::bad_alloc&) {
            log::Error("[Uplink] a text of %s is lost: there is no memory", topic.c_str());
          }
        });
    service.File(wanted.topic, connection, *parsed);
  }
}

void PassCollector::OnPassBegins(time_t at) {
  const lock_guard held(gathered_->lock);
  gathered_->pass = at;
}

void PassCollector::OnPassEnds() {
  std::vector<SpooledMessage> messages;
  {
    const lock_guard held(gathered_->lock);
    gathered_->pass.reset();
    messages.swap(gathered_->messages);
  }
  if (messages.empty()) return;
  try {
    take_(std::move(messages));
  } catch (const std::bad_alloc&) {
    // The engine, whose thread this is, must not hear of it.
    log::Error("[Uplink] a pass is lost: there is no memory");
  }
}

}  // namespace probe::uplink
