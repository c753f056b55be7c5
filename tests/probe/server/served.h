#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"
#include "probe/client/websocket_client.h"
#include "probe/host/subscription_service.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"
#include "tests/support/log_capture.h"

namespace test {

/// Feeds a topic in place of a monitor: every element with a "sid" is a subscription.
class RecordingSubscriber final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override;
  void PushDataBySID(const subscribes::SubscriptionList&) override {}

  /// The requests, as JSON texts; "(null)" for a null one. Threads: any.
  std::vector<std::string> Requests() const;

 private:
  mutable utilities::lock::Mutex lock_;
  std::vector<std::string> requests_ VEXORA_GUARDED_BY(lock_);
};

/// Waits until `condition` holds. False when that takes longer than 20 seconds.
bool Eventually(const std::function<bool()>& condition);

/// A web server at a free port, with the topic "Topic".
class Served : public ::testing::Test {
 protected:
  Served();
  /// Stops it while all that it may still call is there.
  void TearDown() override { server.reset(); }

  /// Starts it, with the settings as they are now.
  void Serve();
  /// The same over TLS, with a certificate of its own.
  void ServeOverTls();
  /// Puts another certificate into the settings.
  void RenewCertificate();
  /// The same, as settings; port and topics are given.
  probe::ServerSettings settings;
  /// What it serves over plain HTTP; empty: nothing.
  probe::HttpService http;
  /// Has it serve "body" at every path, for which `look_up` tells who may ask.
  void ServeBodies(std::function<probe::Access(const std::string& path)> look_up);

  probe::ClientOptions Options() const;
  probe::WebsocketClient Connect() const { return probe::WebsocketClient(Options()); }
  /// A client with a subscription to "Topic".
  probe::WebsocketClient Subscribed(const std::string& sid = "a") const;

  /// Sends a request and gives the code of the error that it gets; the answer itself when it is no error.
  static std::string ErrorFor(probe::WebsocketClient& client, const std::string& request);
  /// Sends a request and gives the answer.
  static std::string Ask(probe::WebsocketClient& client, const std::string& request);
  /// The next message; fails the test when none comes.
  static std::string Next(probe::WebsocketClient& client);
  /// That this client still gets what is sent to it and its requests are answered.
  void ExpectServed(probe::WebsocketClient& client);

  /// The connections subscribed to "Topic" under a SID.
  std::vector<lws*> Handles(const std::string& sid = "a");
  /// The one connection subscribed to "Topic" under "a", once there is one; ends the test when that does not come.
  lws* AwaitHandle();
  /// Sends as the engine does, on this thread.
  static void Push(lws* connection, const std::string& text);
  /// Whether a log line with this text has come.
  bool IsLogged(const std::string& part) const { return !log.Texts(probe::log::Level::kInfo, part).empty(); }

  LogCapture log;
  probe::SubscriptionService service;
  std::shared_ptr<RecordingSubscriber> subscriber = std::make_shared<RecordingSubscriber>();
  std::unique_ptr<probe::WebServer> server;

 private:
  bool is_over_tls_ = false;  // then its clients are as well
};

/// A request for subscriptions of "Topic", each with a filter of its own when `has_own_filters`.
std::string SubscribeText(const std::vector<std::string>& sids, bool has_own_filters = false);

/// An envelope of "Topic" for one SID, with a number and some ballast to make it large.
std::string Envelope(const std::string& sid, int number, std::size_t ballast = 0);

}  // namespace test
