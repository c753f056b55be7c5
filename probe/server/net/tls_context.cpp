#include "probe/server/net/tls_context.h"

#include <openssl/ssl.h>

#include <boost/system/system_error.hpp>
#include <stdexcept>
#include <string_view>

namespace probe {
namespace {

/// Chooses http/1.1 among what a client offers, which is all that is spoken here. Source: RFC 7301.
int ChooseProtocol(SSL*, const unsigned char** chosen, unsigned char* chosen_length, const unsigned char* offered,
                   unsigned offered_length, void*) {
  static constexpr std::string_view kOnly = "\x08http/1.1";
  // OpenSSL declares the result without const, and does not write to it
  auto** result = const_cast<unsigned char**>(chosen);
  const auto* ours = reinterpret_cast<const unsigned char*>(kOnly.data());
  const int outcome =
      SSL_select_next_proto(result, chosen_length, ours, static_cast<unsigned>(kOnly.size()), offered, offered_length);
  return outcome == OPENSSL_NPN_NEGOTIATED ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_ALERT_FATAL;
}

}  // namespace

std::unique_ptr<boost::asio::ssl::context> MakeTlsContext(const ServerSettings& settings) try {
  if (settings.tls_certificate.empty()) return nullptr;
  auto tls = std::make_unique<boost::asio::ssl::context>(boost::asio::ssl::context::tls_server);
  SSL_CTX* const context = tls->native_handle();
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
  SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);  // an idle connection then costs 34 KiB less
  SSL_CTX_set_alpn_select_cb(context, &ChooseProtocol, nullptr);
  tls->use_certificate_chain_file(settings.tls_certificate);
  tls->use_private_key_file(settings.tls_key, boost::asio::ssl::context::pem);
  return tls;
} catch (const boost::system::system_error& failure) {
  throw std::runtime_error("server.tls_certificate = \"" + settings.tls_certificate + "\" with server.tls_key = \"" +
                           settings.tls_key + "\": the TLS certificate or key is not valid (" +
                           failure.code().message() + ")");
}

}  // namespace probe
