#pragma once

#include <boost/asio/ssl/context.hpp>

#include "probe/server/net/server_settings.h"

namespace probe {

/// What the TLS connections of one server share: certificate, key and which versions are spoken.
///
/// TLS is 1.2 or newer, and the only protocol to be agreed on over it is http/1.1.
class TlsContext {
 public:
  /// Reads certificate and key. Fails: throws `std::runtime_error` with a text for an administrator.
  explicit TlsContext(const ServerSettings& settings);

  boost::asio::ssl::context& get() { return context_; }

 private:
  boost::asio::ssl::context context_{boost::asio::ssl::context::tls_server};
};

}  // namespace probe
