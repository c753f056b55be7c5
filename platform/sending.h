#pragma once

#include <json-c/json.h>

#include <string>

#include "platform/subscriptions.h"

/// Sends one message to one connection. The plug-in calls the host.
///
/// The engine calls it once for each message of a pass: it must copy the text, queue it and return, never wait for a
/// client.
///
/// Owner:   `text` stays the caller's. `connection` is a handle from a `SubscriptionList`.
/// Threads: any, several at once. Must not call back into the plug-in.
/// Fails:   a message for a connection that is closed is dropped; never throws.
using SalSendByCon = void (*)(lws* connection, const std::string& text);

/// The function that sends to websocket connections. The plug-in calls the host, once for each message.
///
/// Threads: any, also while the host starts or stops its server.
/// Fails:   null while no server runs, and then messages are dropped; never throws.
SalSendByCon GetSalSendByCon();

namespace kro_utilities::jsonobject {

/// The text of a message on a connection: `{"name": NAME, "data": BODY}`, always valid UTF-8. The plug-in calls the
/// host.
///
/// `name` is the topic. Names in a body come from the air and may hold any octets; the host replaces what is not UTF-8
/// by U+FFFD, for one such octet makes a browser drop the connection.
///
/// The host serialises the body with json-c and does not look into it: long lists in it may be kept as their text.
/// json-c returns no text, a null pointer, for a body whose text the heap has no room for.
///
/// Owner:   `name` and `body` stay the caller's. A null body becomes the JSON value null, a null name an empty text.
/// Threads: any, also with the plug-in's locks held (read locks of the health and wireless top monitors): it must not
///          call back into the plug-in, nor wait for a thread that may be inside it.
/// Fails:   never throws; an empty text when the heap is exhausted.
/// Source:  RFC 6455, 8.1 (text that is not UTF-8 fails the connection).
std::string compose_communication_struct(const char* name, json_object* body);

}  // namespace kro_utilities::jsonobject
