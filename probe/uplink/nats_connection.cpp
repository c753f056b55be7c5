#include "probe/uplink/nats_connection.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <stdexcept>

namespace probe::uplink {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenAttempts{500};
constexpr int kForEver = -1;
// A line that was cut without a word is noticed after so many signs of life that did not come.
constexpr milliseconds kSignOfLife{5000};
constexpr int kMissingSigns = 2;
// What a server does not take for so long breaks the connection: else whoever closes it would wait for the server.
constexpr milliseconds kWriteDeadline{2000};

void SetTls(natsOptions* options, const NatsLogin& login) {
  const bool is_asked_for = std::any_of(login.servers.begin(), login.servers.end(),
                                        [](const std::string& server) { return server.starts_with("tls://"); });
  if (!is_asked_for && login.tls_ca.empty() && login.tls_certificate.empty()) return;
  CheckNats(natsOptions_SetSecure(options, true), "TLS");
  if (!login.tls_ca.empty())
    CheckNats(natsOptions_LoadCATrustedCertificates(options, login.tls_ca.c_str()), login.tls_ca);
  if (!login.tls_certificate.empty())
    CheckNats(natsOptions_LoadCertificatesChain(options, login.tls_certificate.c_str(), login.tls_key.c_str()),
              login.tls_certificate);
}

}  // namespace

void CheckNats(natsStatus status, const std::string& what) {
  if (status != NATS_OK) throw std::runtime_error("NATS: " + what + ": " + natsStatus_GetText(status));
}

NatsOptions OptionsFor(const NatsLogin& login, const std::string& name, const std::string& inbox) {
  natsOptions* made = nullptr;
  CheckNats(natsOptions_Create(&made), "options");
  NatsOptions options(made);
  std::vector<const char*> servers;
  std::transform(login.servers.begin(), login.servers.end(), std::back_inserter(servers),
                 [](const std::string& server) { return server.c_str(); });
  CheckNats(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())), "servers");
  CheckNats(natsOptions_SetName(made, name.c_str()), "name");
  CheckNats(natsOptions_SetCustomInboxPrefix(made, inbox.c_str()), "inbox");
  CheckNats(natsOptions_SetAllowReconnect(made, true), "reconnect");
  CheckNats(natsOptions_SetMaxReconnect(made, kForEver), "reconnect");
  CheckNats(natsOptions_SetReconnectWait(made, kBetweenAttempts.count()), "reconnect");
  CheckNats(natsOptions_SetPingInterval(made, kSignOfLife.count()), "signs of life");
  CheckNats(natsOptions_SetMaxPingsOut(made, kMissingSigns), "signs of life");
  CheckNats(natsOptions_SetWriteDeadline(made, kWriteDeadline.count()), "write deadline");
  // Without a function to call it would wait until it is connected.
  CheckNats(natsOptions_SetRetryOnFailedConnect(
                made, true, [](natsConnection*, void*) {}, nullptr),
            "reconnect");
  if (!login.nkey.empty())
    CheckNats(natsOptions_SetNKeyFromSeed(made, login.nkey.c_str(), login.nkey_seed.c_str()), login.nkey_seed);
  SetTls(made, login);
  return options;
}

NatsConnection Connect(const NatsOptions& options) {
  natsConnection* made = nullptr;
  const natsStatus status = natsConnection_Connect(&made, options.get());
  NatsConnection connection(made);
  if (status != NATS_NOT_YET_CONNECTED) CheckNats(status, "cannot connect");
  return connection;
}

std::string WhyNotConnected(natsConnection* connection) {
  const char* text = nullptr;
  const natsStatus status = natsConnection_GetLastError(connection, &text);
  if (status == NATS_OK) return "no server answers";
  return text != nullptr && *text != '\0' ? text : natsStatus_GetText(status);
}

NatsMessage MessageOf(const std::string& subject, const std::string& reply, const std::string& text) {
  natsMsg* made = nullptr;
  CheckNats(natsMsg_Create(&made, subject.c_str(), reply.empty() ? nullptr : reply.c_str(), text.data(),
                           static_cast<int>(text.size())),
            subject);
  return NatsMessage(made);
}

std::string TextOf(natsMsg* message) {
  return {natsMsg_GetData(message), static_cast<std::size_t>(natsMsg_GetDataLength(message))};
}

std::string HeaderOf(natsMsg* message, const char* name) {
  const char* value = nullptr;
  return natsMsgHeader_Get(message, name, &value) == NATS_OK && value != nullptr ? value : "";
}

}  // namespace probe::uplink
