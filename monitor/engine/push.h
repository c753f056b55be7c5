#pragma once

#include <map>
#include <string>
#include <vector>

#include "monitor/engine/boundary.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_tree.h"
#include "platform/subscriptions.h"

namespace monitoring {

/// One filter of a class of equal filters -> (connection -> the SIDs under which it asked for that), in SID order.
///
/// The keys point into the subscription list that was grouped: valid only while that list lives.
using MergedList = std::map<Filter*, std::map<lws*, std::vector<std::string>>>;

/// Groups connections and SIDs by equal filters, so that a message is built once for each of them. Adds to `merged`.
///
/// The key of a class is its first filter, in the order of SIDs. Subscriptions without a filter are skipped.
void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged);

/// A strict weak order of filters, in which two are equivalent that ask for the same.
using FilterOrder = bool (*)(const Filter& left, const Filter& right);

/// The same for a monitor whose filters have members of their own. Compares each filter with the logarithm of the
/// number of different ones.
void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged, FilterOrder is_before);

/// Hands one message to the host's send function; dropped without a log line when none is installed.
void Send(lws* connection, const std::string& text);

/// The host's text of a message. What writes the body is ours, because json-c would leave out what it finds no memory
/// for.
///
/// Fails: with `std::bad_alloc`, or as `TreeShortage` tells: the text is not whole then.
std::string Composed(const std::string& topic, const JsonTree& body);

/// Sends to each connection, for each filter that it has, what `compose(filter, data, sids)` makes of the data that
/// `build(filter)` gives, a pointer: built once for all connections of a filter, and composed once for those of them
/// that follow one another with equal SIDs. Both are done for each connection where debug lines tell of each message,
/// or when there are no data. A message that is not whole, because memory ran out, is not sent. What fails costs the
/// message of its connection only; `place` is where a defect is reported from.
template <typename Build, typename Compose>
void SendToEach(const char* place, const MergedList& merged, Build build, Compose compose) {
  for (const auto& [representative, connections] : merged) {
    const Filter* const filter = representative;  // a lambda of C++20 cannot capture the other one
    decltype(build(*filter)) data = nullptr;
    std::string text;
    const std::vector<std::string>* composed_for = nullptr;
    for (const auto& entry : connections) {
      WithinBoundary(place, [&] {
        const auto& [connection, sids] = entry;
        const TreeShortage shortage;
        const bool is_new = data == nullptr || AreDebugLinesLogged();
        if (is_new) data = build(*filter);
        // Empty when there was no memory for it.
        if (is_new || text.empty() || *composed_for != sids) {
          text = {};  // before its successor takes as much
          text = compose(*filter, data, sids);
          composed_for = &sids;
        }
        if (shortage.HasStruck()) {
          data = nullptr;
          text = {};
          return;
        }
        Send(connection, text);
      });
    }
  }
}

}  // namespace monitoring
