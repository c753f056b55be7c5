// What the server refuses to start with, where it listens, and TLS.

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "probe/host/subscription_service.h"
#include "probe/server/net/ip_address.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class WebServerStartTest : public test::Served {
 protected:
  /// Why the server does not start; empty when it does.
  std::string StartFailure() {
    try {
      Serve();
      return {};
    } catch (const std::runtime_error& failure) {
      return failure.what();
    }
  }
};

TEST_F(WebServerStartTest, RefusesAnAddressThatOthersReachWithoutTokenAndTls) {
  settings.listen = {"127.0.0.1", "0.0.0.0"};
  EXPECT_THAT(StartFailure(), AllOf(HasSubstr("0.0.0.0"), HasSubstr("a token and TLS")));
  settings.token = "a secret of 16 or more";
  EXPECT_THAT(StartFailure(), HasSubstr("needs TLS"));
}

TEST_F(WebServerStartTest, RefusesWhatIsNoAddress) {
  settings.listen = {"localhost"};
  EXPECT_THAT(StartFailure(), HasSubstr("localhost"));
  settings.token = "a secret of 16 or more";
  settings.tls_certificate = settings.tls_key = "/dev/null";
  EXPECT_THAT(StartFailure(), HasSubstr("not a numeric IP address"));
  settings.listen = {};
  EXPECT_THAT(StartFailure(), HasSubstr("names no address"));
}

TEST_F(WebServerStartTest, SaysWhichPortIsTaken) {
  Serve();
  settings.port = server->port();
  probe::SubscriptionService other_service;
  probe::WebServer second(settings, other_service);
  try {
    second.Start();
    FAIL() << "two servers listen on one port";
  } catch (const std::runtime_error& failure) {
    EXPECT_THAT(failure.what(), AllOf(HasSubstr("127.0.0.1"), HasSubstr(std::to_string(settings.port))));
  }
  auto client = Connect();
  ExpectServed(client);
}

TEST_F(WebServerStartTest, RefusesASecondServerOfTheProcess) {
  Serve();
  settings.port = 0;
  probe::WebServer second(settings, service);
  EXPECT_THROW(second.Start(), std::runtime_error);
  auto client = Subscribed();
  Push(AwaitHandle(), test::Envelope("a", 1));
  EXPECT_EQ(Next(client), test::Envelope("a", 1));
}

TEST_F(WebServerStartTest, RefusesAnAddressThatThisMachineDoesNotHave) {
  settings.listen = {"::1", "127.0.0.1"};  // not the default, so none may be missing
  EXPECT_EQ(StartFailure(), "");
  server.reset();
  settings.listen = {"192.0.2.1"};
  settings.token = "a secret of 16 or more";
  settings.tls_certificate = settings.tls_key = "/dev/null";
  EXPECT_THAT(StartFailure(), HasSubstr("cannot listen on 192.0.2.1"));
}

TEST_F(WebServerStartTest, RefusesTimesThatMakeNoSense) {
  settings.limits.hang_up_after = settings.limits.ping_after;
  EXPECT_THAT(StartFailure(), HasSubstr("limits.hang_up_after_seconds must be greater than limits.ping_after_seconds"));
}

TEST_F(WebServerStartTest, StartsAgainAfterAStop) {
  Serve();
  const auto port = server->port();
  server->Stop();
  EXPECT_EQ(server->port(), 0);
  settings.port = port;
  Serve();
  auto client = Connect();
  ExpectServed(client);
}

class WebServerTlsTest : public WebServerStartTest {
 protected:
  /// A certificate for 127.0.0.1, made for this test.
  WebServerTlsTest() : folder_(std::filesystem::path(::testing::TempDir()) / ("tls." + std::to_string(getpid()))) {
    std::filesystem::create_directories(folder_);
    settings.tls_certificate = folder_ / "certificate.pem";
    settings.tls_key = folder_ / "key.pem";
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=probe "
        "-addext subjectAltName=IP:127.0.0.1,DNS:localhost -keyout '" +
        settings.tls_key + "' -out '" + settings.tls_certificate + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) ADD_FAILURE() << "openssl made no certificate";
  }
  ~WebServerTlsTest() override { std::filesystem::remove_all(folder_); }

  /// What the command says about a handshake with the server.
  std::string HandshakeOf(const std::string& options) const {
    const std::string command =
        "openssl s_client " + options + " -connect 127.0.0.1:" + std::to_string(server->port()) + " </dev/null 2>&1";
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr) text += line;
    pclose(pipe);
    return text;
  }

  probe::ClientOptions TlsOptions() const {
    auto options = Options();
    options.tls = true;
    options.trusted_certificate = settings.tls_certificate;
    return options;
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(WebServerTlsTest, ServesOverTls) {
  Serve();
  probe::WebsocketClient client(TlsOptions());
  EXPECT_THAT(Ask(client, test::SubscribeText({"a"})), HasSubstr("subscribed"));
  const std::string large = test::Envelope("a", 1, 3 * 1024 * 1024);
  Push(AwaitHandle(), large);
  EXPECT_TRUE(Next(client) == large);
}

TEST_F(WebServerTlsTest, TakesNoPlainConnectionWhenItHasTls) {
  Serve();
  EXPECT_THROW(Connect(), probe::ClientError);
  probe::WebsocketClient client(TlsOptions());
  ExpectServed(client);
}

TEST_F(WebServerTlsTest, EndsAConnectionThatSpeaksNoTls) {
  Serve();
  test::RawClient client(server->port());
  client.Send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
  EXPECT_THAT(client.ReadAll(), ::testing::Not(HasSubstr("HTTP/")));
  probe::WebsocketClient other(TlsOptions());
  ExpectServed(other);
}

TEST_F(WebServerTlsTest, AgreesToNoHttp2) {
  Serve();
  const std::string text = HandshakeOf("-alpn h2");
  EXPECT_THAT(text, ::testing::Not(HasSubstr("ALPN protocol: h2")));
  EXPECT_THAT(text, ::testing::AnyOf(HasSubstr("No ALPN negotiated"), HasSubstr("no application protocol")));
  EXPECT_THAT(HandshakeOf("-alpn h2,http/1.1"), HasSubstr("ALPN protocol: http/1.1"));
}

TEST_F(WebServerTlsTest, ListensEverywhereWithTokenAndTls) {
  settings.listen = {"0.0.0.0"};
  settings.token = "a secret of 16 or more";
  Serve();
  EXPECT_THROW(probe::WebsocketClient{TlsOptions()}, probe::ClientError);
  auto options = TlsOptions();
  options.headers["Authorization"] = "Bearer a secret of 16 or more";
  probe::WebsocketClient client(options);
  ExpectServed(client);
}

TEST_F(WebServerTlsTest, SaysWhichFileCannotBeRead) {
  const std::string key = settings.tls_key;
  settings.tls_key = key + ".missing";
  EXPECT_THAT(StartFailure(), AllOf(HasSubstr("server.tls_key"), HasSubstr(settings.tls_key)));
  settings.tls_key.clear();
  EXPECT_THAT(StartFailure(), HasSubstr("must be set both"));
}

TEST_F(WebServerTlsTest, RefusesACertificateThatIsNone) {
  std::ofstream(settings.tls_certificate) << "no certificate";
  EXPECT_THAT(StartFailure(), HasSubstr("TLS certificate or key is not valid"));
}

}  // namespace
