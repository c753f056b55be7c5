#pragma once

#include <map>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"
#include "platform/subscriptions.h"

namespace monitoring {

/// One filter of a class of equal filters -> (connection -> the SIDs under which it asked for that), in SID order.
///
/// The keys point into the subscription list that was grouped: valid only while that list lives.
using MergedList = std::map<Filter*, std::map<lws*, std::vector<std::string>>>;

/// Groups connections and SIDs by equal filters, so that a message is built once for each of them. Adds to `merged`.
///
/// The first filter of a class that is met stands for it. Subscriptions without a filter are passed over.
void MergeByFilter(const subscribes::SubscriptionList& subscriptions, MergedList& merged);

/// Hands one message to the host's send function; dropped without a word when none is installed.
void Send(lws* connection, const std::string& text);

}  // namespace monitoring
