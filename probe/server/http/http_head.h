#pragma once

#include <map>
#include <string>

#include "platform/subscriptions.h"
#include "probe/server/http/access_rules.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// What the access rules ask of the request whose head the library has just read on this socket.
///
/// Threads: the server thread, inside a callback of that request.
RequestHead ReadRequestHead(lws* socket);

/// The arguments of the request's query, decoded. Threads: as above.
std::map<std::string, std::string> ReadArguments(lws* socket);

/// Refuses the request, in JSON where programs ask and in plain text elsewhere; the connection is to be closed after
/// it.
///
/// Threads: as above.
void AnswerWithRefusal(lws* socket, const Refusal& refusal, bool is_json);

/// Writes the head of an answer, whose body follows unless the client has it already (304) or asked for the head only.
///
/// `origin`: the foreign page that may read the answer; empty: none.
/// Threads: the server thread, inside the writable callback of that request.
/// Fails:   false when the connection is of no use any more.
bool WriteAnswerHead(lws* socket, const HttpAnswer& answer, bool is_not_modified, const std::string& origin);

}  // namespace probe
