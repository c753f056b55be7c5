#pragma once

#include "platform/subscriptions.h"
#include "probe/server/access.h"

namespace probe {

/// What the access rules ask of the request whose head the library has just read on this socket.
///
/// Threads: the server thread, inside a callback of that request.
RequestHead ReadRequestHead(lws* socket);

/// Answers the request with a plain text; the connection is to be closed after it.
///
/// Threads: as above.
void AnswerWithText(lws* socket, const Refusal& answer);

}  // namespace probe
