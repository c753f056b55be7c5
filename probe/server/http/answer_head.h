#pragma once

#include <string>

#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// The head of an answer, whose body follows unless the client has it already (304) or asked for the head only.
///
/// `origin`: the foreign page that may read the answer; empty: none. `cookie`: as a Set-Cookie header has it, likewise.
std::string AnswerHead(const RequestHead& request, const HttpAnswer& answer, bool is_not_modified,
                       const std::string& origin, const std::string& cookie);

/// The head of an answer that refuses a request. The connection is to be closed after it.
std::string RefusalHead(const RequestHead& request, const HttpError& error, const HttpAnswer& answer);

}  // namespace probe
