#pragma once

#include <boost/asio/ssl/context.hpp>
#include <memory>

#include "probe/server/net/server_settings.h"

namespace probe {

/// What the TLS connections of one server share: certificate, key, TLS 1.2 or newer, and http/1.1 as the only protocol
/// to agree on. Null when the settings have no certificate.
///
/// Fails: throws `std::runtime_error` with a text for an administrator.
std::unique_ptr<boost::asio::ssl::context> MakeTlsContext(const ServerSettings& settings);

}  // namespace probe
