#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "probe/uplink/nats_handles.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/stream_link.h"
#include "tests/support/child_process.h"
#include "tests/support/test_folder.h"

namespace test {

/// A NATS server on the loopback that keeps streams in a folder of its own.
class NatsServer {
 public:
  /// `options`: of the command line, in addition to those of an open server.
  explicit NatsServer(std::vector<std::string> options = {});

  /// Kills it, as a failure does.
  void Kill();

  /// Starts it again, on the same port, with what it has kept.
  void Restart();

  /// Waits until it has written this text. False when that takes longer than a minute.
  bool AwaitOutput(const std::string& text) { return process_->AwaitOutput(text); }

  int port() const { return port_; }
  std::string url() const { return "nats://127.0.0.1:" + std::to_string(port_); }

 private:
  void Run(int port);

  const std::vector<std::string> options_;
  TestFolder folder_;
  std::unique_ptr<ChildProcess> process_;
  int port_ = 0;
};

/// A text as a stream has it.
struct StoredMessage {
  std::string subject;
  std::string id;
  std::string text;
};

std::vector<std::string> IdsOf(const std::vector<StoredMessage>& messages);

/// Somebody who makes a stream of all sites, and reads it.
class StreamReader {
 public:
  /// `options`: how to log in; null: not at all.
  explicit StreamReader(const std::string& url, probe::uplink::NatsOptions options = nullptr);

  /// Makes the stream "VEXORA", which tells texts that come twice within `duplicate_window_seconds`, and refuses more
  /// than `max_messages`, if that is no negative number.
  void MakeStream(int duplicate_window_seconds = 120, int max_messages = -1);

  /// Waits until the stream has so many texts, and reads all; fewer when that takes longer than a minute.
  std::vector<StoredMessage> Await(std::size_t count);

  /// All answers to a request up to the empty one, or the first one alone.
  std::vector<std::string> Ask(const std::string& subject, const std::string& text, bool has_several);

  natsConnection* connection() { return connection_.get(); }
  jsCtx* streams() { return stream_.get(); }

 private:
  probe::uplink::NatsConnection connection_;
  std::unique_ptr<jsCtx, probe::uplink::ReleaseNats<&jsCtx_Destroy>> stream_;
};

/// Waits until a link is connected, or until it is not. Fails the test when that takes longer than a minute.
void AwaitConnection(const probe::uplink::StreamLink& link, bool is_wanted = true);

/// The text of the next answer to a subscription that is no word of the server's that nobody listens; empty when that
/// takes longer than a minute.
std::string NextAnswer(natsSubscription* answers);

/// Asks again and again until the link hears it, which has to subscribe first; nothing when that takes longer than a
/// minute. Answers are to go to `inbox`.
std::optional<probe::uplink::SiteRequest> AskUntilHeard(StreamReader& reader, const std::string& subject,
                                                        const std::string& inbox, probe::uplink::StreamLink& link);

}  // namespace test
