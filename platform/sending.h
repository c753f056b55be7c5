#pragma once

#include <json-c/json.h>

#include <string>

#include "platform/subscriptions.h"

/// Sends one message to one connection. The plug-in calls the host.
///
/// The engine calls it once for each message of a pass: it must take the text over and return, never wait for a client.
/// A message for a connection that is gone is dropped.
///
/// Threads: any, several at once. Does not call back into the plug-in. Fails: never throws.
using SalSendByCon = void (*)(lws* connection, const std::string& text);

/// The plug-in calls the host.
///
/// The function that sends to websocket connections; null while no server runs, and then messages are dropped.
///
/// Threads: any.
SalSendByCon GetSalSendByCon();

namespace kro_utilities::jsonobject {

/// The plug-in calls the host.
///
/// The text that goes over the wire: `{"name": NAME, "data": BODY}`, always valid UTF-8.
///
/// Names in a body come from the air and may hold any octets; the host replaces what is not UTF-8 by U+FFFD, for one
/// such octet makes a browser drop the connection.
///
/// The host serialises the body and does not look into it: long lists in it may be kept as their text.
///
/// Owner:   `body` stays the caller's. A null body becomes null.
/// Threads: any, also with the plug-in's locks held (read locks of the health and wireless top monitors): it must not
///          call back into the plug-in, nor wait for a thread that may be inside it.
/// Fails:   never throws; an empty text when the heap is exhausted.
/// Source:  RFC 6455, 8.1 (text that is not UTF-8 fails the connection).
std::string compose_communication_struct(const char* name, json_object* body);

}  // namespace kro_utilities::jsonobject
