#include "probe/server/net/listener.h"

#include <openssl/ssl.h>

#include <cstddef>
#include <stdexcept>
#include <utility>

#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/descriptor_limit.h"
#include "probe/server/net/fragment.h"
#include "probe/server/net/library_log.h"

namespace probe {
namespace {

// How long a client may take for its request, its TLS handshake, its answer to a close.
constexpr unsigned kHandshakeSeconds = 10;

// How much of a message the library reads before it hands it over.
constexpr std::size_t kReceiveBytes = 4096;

std::array<lws_protocols, 2> OnlyProtocol(lws_callback_function* on_event) {
  return {{{"vexora-probe", on_event, 0, kReceiveBytes, 0, nullptr, kFragmentBytes + LWS_PRE},
           {nullptr, nullptr, 0, 0, 0, nullptr, 0}}};
}

lws_retry_bo_t IdlePolicy(const ServerLimits& limits) {
  lws_retry_bo_t policy{};
  policy.secs_since_valid_ping = static_cast<std::uint16_t>(limits.ping_after.count());
  policy.secs_since_valid_hangup = static_cast<std::uint16_t>(limits.hang_up_after.count());
  return policy;
}

}  // namespace

ListeningContext::ListeningContext(const ServerSettings& settings, std::vector<std::string> addresses,
                                   std::uint16_t port, lws_callback_function* on_event, void* owner)
    : addresses_(std::move(addresses)), protocols_(OnlyProtocol(on_event)), idle_policy_(IdlePolicy(settings.limits)) {
  Create(settings, owner);
  try {
    for (const std::string& address : addresses_) Listen(settings, address, port);
  } catch (...) {
    lws_context_destroy(context_);
    throw;
  }
}

ListeningContext::~ListeningContext() {
  lws_context_destroy(context_);
}

void ListeningContext::Create(const ServerSettings& settings, void* owner) {
  TakeOverLibraryLog();
  lws_context_creation_info info{};
  info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS;
  if (!settings.tls_certificate.empty()) info.options |= LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
  info.user = owner;
  info.server_string = "vexora-probe";
  info.timeout_secs = kHandshakeSeconds;
  info.fd_limit_per_thread =
      static_cast<unsigned>(settings.limits.connections + Gate::kTurnedAway + addresses_.size() + kOtherDescriptors);
  context_ = lws_create_context(&info);
  if (context_ == nullptr) throw std::runtime_error("the web server cannot be set up");
}

void ListeningContext::Listen(const ServerSettings& settings, const std::string& address, std::uint16_t port) {
  lws_context_creation_info info{};
  info.vhost_name = address.c_str();
  info.iface = address.c_str();
  info.port = port;
  info.protocols = protocols_.data();
  info.retry_and_idle_policy = &idle_policy_;
  info.alpn = "http/1.1";
  info.options =
      LWS_SERVER_OPTION_FAIL_UPON_UNABLE_TO_BIND | LWS_SERVER_OPTION_HTTP_HEADERS_SECURITY_BEST_PRACTICES_ENFORCE;
  info.options |= address.find(':') == std::string::npos
                      ? LWS_SERVER_OPTION_DISABLE_IPV6
                      : (LWS_SERVER_OPTION_IPV6_V6ONLY_MODIFY | LWS_SERVER_OPTION_IPV6_V6ONLY_VALUE);
  if (!settings.tls_certificate.empty()) {
    info.options |= LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
    info.ssl_cert_filepath = settings.tls_certificate.c_str();
    info.ssl_private_key_filepath = settings.tls_key.c_str();
    info.ssl_options_set = static_cast<long>(SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1);
  }
  if (lws_create_vhost(context_, &info) == nullptr)
    throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port) +
                             (settings.tls_certificate.empty() ? "" : ", or the TLS certificate or key is not valid"));
}

bool ListeningContext::Serve() {
  return lws_service(context_, 0) >= 0;
}

void ListeningContext::Wake() {
  lws_cancel_service(context_);
}

}  // namespace probe
