#pragma once

#include <string>

#include "probe/client/websocket_client.h"

namespace probe {

/// Where a websocket URL leads: "ws://HOST:PORT/PATH" or "wss://...", the port 80 or 443 when it is left out, IPv6
/// addresses in brackets.
///
/// Fails: throws `ClientError` for what is no such URL.
/// Source: RFC 6455, section 3.
ClientOptions OptionsFromUrl(const std::string& url);

}  // namespace probe
