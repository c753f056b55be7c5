#pragma once

#include <memory>
#include <string>
#include <vector>

#include "probe/uplink/nats_handles.h"
#include "tests/support/child_process.h"
#include "tests/support/test_folder.h"

namespace test {

/// A NATS server on the loopback that keeps streams in a folder of its own.
class NatsServer {
 public:
  NatsServer();

  /// Kills it, as a failure does.
  void Kill();

  /// Starts it again, on the same port, with what it has kept.
  void Restart();

  std::string url() const { return "nats://127.0.0.1:" + std::to_string(port_); }

 private:
  void Run(int port);

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
  explicit StreamReader(const std::string& url);

  /// Makes the stream "VEXORA", which tells texts that come twice within `duplicate_window_seconds`.
  void MakeStream(int duplicate_window_seconds = 120);

  /// Waits until the stream has so many texts, and reads all; fewer when that takes longer than a minute.
  std::vector<StoredMessage> Await(std::size_t count);

  /// All answers to a request up to the empty one, or the first one alone.
  std::vector<std::string> Ask(const std::string& subject, const std::string& text, bool has_several);

  natsConnection* connection() { return connection_.get(); }

 private:
  probe::uplink::NatsConnection connection_;
  std::unique_ptr<jsCtx, probe::uplink::ReleaseNats<&jsCtx_Destroy>> stream_;
};

}  // namespace test
