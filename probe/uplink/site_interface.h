#pragma once

#include <functional>
#include <map>
#include <string>

#include "probe/api/plugin_calls.h"
#include "probe/server/http/http_message.h"

namespace probe::uplink {

/// What the uplink asks of the probe to which it belongs, on threads of its own, until it is stopped.
struct SiteInterface {
  std::map<std::string, ReportCalls> reports;  ///< Name of a report -> its calls.

  /// The HTTP interface; empty: the uplink has none.
  std::function<HttpAnswer(const HttpRequest& request)> answer;

  /// The newest message of a topic for a filter, a JSON text; empty: there is none. Empty itself: the uplink has none.
  std::function<std::string(const std::string& topic, const std::string& filter)> message;
};

}  // namespace probe::uplink
