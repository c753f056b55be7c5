// The servers' configuration that is installed, packaging/fleet/nats-server.conf, against a server that runs with it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "probe/uplink/nats_handles.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/stream_link.h"
#include "probe/uplink/uplink_settings.h"
#include "tests/probe/uplink/nats_servers.h"
#include "tests/support/test_folder.h"

namespace {

using probe::uplink::Delivery;
using probe::uplink::SpooledMessage;
using probe::uplink::StreamLink;
using probe::uplink::UplinkSettings;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A folder of certificates: one authority, and whoever is named by it.
class Certificates {
 public:
  Certificates() {
    Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=test -keyout "
        "ca.key "
        "-out ca.pem");
    Make("server", "DNS:localhost");
    Make("north", "DNS:north.sites.example.org");
    Make("south", "DNS:south.sites.example.org");
    Make("centre", "DNS:centre.example.org");
  }

  std::string Path(const std::string& name) const { return folder_.Path(name); }
  std::string Write(const std::string& name, const std::string& text) { return folder_.Write(name, text); }

 private:
  void Run(const std::string& command) const {
    const std::string all = "cd " + std::filesystem::path(folder_.Path("x")).parent_path().string() + " && " + command;
    // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): words of this file alone
    ASSERT_EQ(std::system(("(" + all + ") >/dev/null 2>&1").c_str()), 0) << command;
  }

  void Make(const std::string& name, const std::string& subject) {
    folder_.Write(name + ".ext", "subjectAltName=" + subject + "\n");
    Run("openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=" + name + " -keyout " + name +
        ".key -out " + name + ".csr && openssl x509 -req -days 2 -in " + name +
        ".csr -CA ca.pem -CAkey ca.key -extfile " + name + ".ext -out " + name + ".pem");
  }

  test::TestFolder folder_;
};

class SitePermissionsTest : public ::testing::Test {
 protected:
  SitePermissionsTest()
      : server_({"--config", Configuration()}),
        centre_("tls://localhost:" + std::to_string(server_.port()), OptionsOf("centre")) {
    centre_.MakeStream();
  }

  /// The installed file, with the test's files and a second site by an NKey.
  std::string Configuration() {
    std::ifstream file(VEXORA_FLEET_CONFIGURATION);
    std::ostringstream text;
    text << file.rdbuf();
    std::string configuration = text.str();
    Replace(configuration, "/etc/vexora-fleet/", certificates_.Path(""));
    Replace(configuration, "listen: \"0.0.0.0:4222\"", "");
    Replace(configuration, "store_dir: \"/var/lib/nats\"", "");
    return certificates_.Write("nats-server.conf", configuration);
  }

  static void Replace(std::string& text, const std::string& what, const std::string& by) {
    ASSERT_THAT(text, HasSubstr(what));
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
      text.replace(at, what.size(), by);
  }

  UplinkSettings SettingsOf(const std::string& certificate, const std::string& site) const {
    UplinkSettings settings;
    settings.servers = {"tls://localhost:" + std::to_string(server_.port())};
    settings.site = site;
    settings.tls_ca = certificates_.Path("ca.pem");
    settings.tls_certificate = certificates_.Path(certificate + ".pem");
    settings.tls_key = certificates_.Path(certificate + ".key");
    return settings;
  }

  probe::uplink::NatsOptions OptionsOf(const std::string& certificate) const {
    natsOptions* made = nullptr;
    EXPECT_EQ(natsOptions_Create(&made), NATS_OK);
    natsOptions_SetSecure(made, true);
    natsOptions_LoadCATrustedCertificates(made, certificates_.Path("ca.pem").c_str());
    natsOptions_LoadCertificatesChain(made, certificates_.Path(certificate + ".pem").c_str(),
                                      certificates_.Path(certificate + ".key").c_str());
    return probe::uplink::NatsOptions(made);
  }

  Certificates certificates_;
  test::NatsServer server_;
  test::StreamReader centre_;
};

TEST_F(SitePermissionsTest, LetASiteWriteUnderItsOwnName) {
  StreamLink north(SettingsOf("north", "north"));
  test::AwaitConnection(north);
  EXPECT_THAT(north.Publish({{1, "a", "1", 0, "text"}}), ElementsAre(Delivery::kStored)) << north.trouble();
  EXPECT_THAT(test::IdsOf(centre_.Await(1)), ElementsAre("north.a.1"));
}

TEST_F(SitePermissionsTest, LetNoSiteWriteUnderTheNameOfAnother) {
  StreamLink north(SettingsOf("north", "north"));
  StreamLink forged(SettingsOf("north", "south"));
  test::AwaitConnection(forged);
  test::AwaitConnection(north);
  EXPECT_THAT(forged.Publish({{1, "a", "1", 0, "forged"}}), ElementsAre(Delivery::kNotNow));
  EXPECT_THAT(north.Publish({{1, "a", "1", 0, "text"}}), ElementsAre(Delivery::kStored));
  EXPECT_THAT(test::IdsOf(centre_.Await(1)), ElementsAre("north.a.1"));
}

TEST_F(SitePermissionsTest, LetNoSiteHaveItselfAnswerUnderTheNameOfAnother) {
  StreamLink north(SettingsOf("north", "north"));
  test::StreamReader itself("tls://localhost:" + std::to_string(server_.port()), OptionsOf("north"));
  test::AwaitConnection(north);
  natsConnection_PublishRequestString(itself.connection(), "vexora.v1.north.request.newest",
                                      "vexora.v1.south.HealthMonitor", "");
  natsConnection_Flush(itself.connection());
  EXPECT_FALSE(north.NextRequest(std::chrono::milliseconds(500)));
  north.Reply("vexora.v1.south.HealthMonitor", {{}, "forged"});
  EXPECT_THAT(north.Publish({{1, "a", "1", 0, "text"}}), ElementsAre(Delivery::kStored));
  EXPECT_THAT(test::IdsOf(centre_.Await(1)), ElementsAre("north.a.1"));
}

TEST_F(SitePermissionsTest, LetNobodyInWhoIsNoUser) {
  StreamLink south(SettingsOf("south", "south"));
  EXPECT_THAT(south.Publish({{1, "a", "1", 0, "text"}}), ElementsAre(Delivery::kNotNow));
  EXPECT_TRUE(server_.AwaitOutput("authentication error"));
  EXPECT_FALSE(south.IsConnected());
}

TEST_F(SitePermissionsTest, LetASiteAnswerWhoAsks) {
  StreamLink north(SettingsOf("north", "north"));
  test::AwaitConnection(north);
  natsSubscription* made = nullptr;
  ASSERT_EQ(natsConnection_SubscribeSync(&made, centre_.connection(), "_INBOX_centre.test"), NATS_OK);
  const probe::uplink::NatsSubscription answers(made);
  const auto request = test::AskUntilHeard(centre_, "vexora.v1.north.request.newest", "_INBOX_centre.test", north);
  ASSERT_TRUE(request);
  north.Reply(request->reply, {{}, "newest"});
  EXPECT_EQ(test::NextAnswer(made), "newest");
}

TEST_F(SitePermissionsTest, LetASiteAnswerNothingElse) {
  StreamLink north(SettingsOf("north", "north"));
  test::AwaitConnection(north);
  natsSubscription* made = nullptr;
  ASSERT_EQ(natsConnection_SubscribeSync(&made, centre_.connection(), "_INBOX_centre.>"), NATS_OK);
  const probe::uplink::NatsSubscription answers(made);
  const auto request = test::AskUntilHeard(centre_, "vexora.v1.north.request.newest", "_INBOX_centre.test.5", north);
  ASSERT_TRUE(request);
  // As the client library numbers its questions, whomever they are put to.
  north.Reply("_INBOX_centre.test.6", {{}, "forged"});
  north.Reply(request->reply, {{}, "newest"});
  EXPECT_EQ(test::NextAnswer(made), "newest");
}

}  // namespace
