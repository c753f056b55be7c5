// A server that takes other settings over while it runs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "probe/client/websocket_client.h"
#include "tests/probe/server/served.h"

namespace {

using probe::ClientError;
using probe::ClientOptions;
using probe::WebsocketClient;

class ReloadTest : public test::Served {
 protected:
  /// A client that shows this token.
  WebsocketClient With(const std::string& token) const {
    ClientOptions options = Options();
    options.headers["Authorization"] = "Bearer " + token;
    return WebsocketClient(options);
  }

  /// The status by which a client with this token is refused; 0 when it is let in.
  unsigned RefusalOf(const std::string& token) const {
    try {
      With(token);
      return 0;
    } catch (const ClientError& error) {
      return error.http_status();
    }
  }
};

TEST_F(ReloadTest, AnotherTokenIsAskedForAndThoseOfTheFormerAreClosed) {
  settings.token = "former";
  Serve();
  WebsocketClient client = With("former");
  settings.token = "other";
  server->PrepareReload(settings)();

  ASSERT_TRUE(test::Eventually([&] {
    client.Receive(std::chrono::milliseconds(10));
    return client.close_reason().has_value();
  }));
  EXPECT_EQ(client.close_reason()->code, 1008);
  EXPECT_EQ(RefusalOf("former"), 401U);
  EXPECT_EQ(RefusalOf("other"), 0U);
}

TEST_F(ReloadTest, TheSameTokenLeavesConnectionsAsTheyAre) {
  settings.token = "same";
  Serve();
  WebsocketClient client = With("same");
  settings.allowed_hosts = {"probe.example"};
  server->PrepareReload(settings)();

  ExpectServed(client);
  ClientOptions by_name = Options();
  by_name.headers = {{"Authorization", "Bearer same"}, {"Host", "probe.example"}};
  EXPECT_NO_THROW(WebsocketClient{by_name});
}

TEST_F(ReloadTest, SettingsThatCannotBeServedChangeNothing) {
  settings.token = "former";
  Serve();
  settings.token = "other";
  settings.tls_certificate = settings.tls_key = "/no/such/file";
  EXPECT_THROW(server->PrepareReload(settings), std::runtime_error);
  settings.tls_certificate.clear();
  EXPECT_THROW(server->PrepareReload(settings), std::runtime_error) << "half of a pair";
  EXPECT_EQ(RefusalOf("other"), 401U);
  EXPECT_EQ(RefusalOf("former"), 0U);
}

TEST_F(ReloadTest, ANewCertificateIsThatOfNewConnections) {
  ServeOverTls();
  WebsocketClient client = Connect();
  const std::string former_certificate = settings.tls_certificate;
  RenewCertificate();
  server->PrepareReload(settings)();

  ExpectServed(client);
  WebsocketClient with_the_new = Connect();
  ExpectServed(with_the_new);
  ClientOptions with_the_former = Options();
  with_the_former.trusted_certificate = former_certificate;
  EXPECT_THROW(WebsocketClient{with_the_former}, ClientError);
}

}  // namespace
