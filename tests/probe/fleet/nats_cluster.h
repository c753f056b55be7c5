#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/probe/uplink/nats_servers.h"

namespace test {

/// Three NATS servers on the loopback that keep streams together. Their clients know only the servers that they are
/// told of, so that a line can be put between.
class NatsCluster {
 public:
  static constexpr std::size_t kServers = 3;

  NatsCluster();

  NatsServer& at(std::size_t server) { return *servers_.at(server); }

  std::vector<std::string> urls() const;

  /// How a test logs in at any of them, and stays logged in while one is away.
  probe::uplink::NatsOptions options() const;

 private:
  std::vector<std::unique_ptr<NatsServer>> servers_;
};

/// Somebody who looks into a stream of the cluster.
class StreamWatcher {
 public:
  StreamWatcher(const NatsCluster& cluster, std::string stream);

  /// Has the stream drop no text for its id alone, but for a moment: what keeps texts from coming twice is then the
  /// uplinks' own work.
  void ForgetIdsAtOnce();

  /// The server that leads the stream, waited for.
  std::size_t AwaitLeader();

  /// Waits until each server has all that the stream has. False when that takes longer than a minute.
  bool AwaitAllCurrent();

  /// The id of the last text of a subject; nothing: there is none, or no server says.
  std::optional<std::string> LastIdOf(const std::string& subject);

  /// All texts, in the stream's order. Nothing is to be stored meanwhile.
  std::vector<StoredMessage> All();

 private:
  const std::string stream_;
  StreamReader reader_;
};

}  // namespace test
