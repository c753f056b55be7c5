#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "probe/centre/centre_settings.h"
#include "probe/centre/site_text.h"
#include "probe/uplink/nats_handles.h"
#include "probe/uplink/site_answers.h"

namespace probe::centre {

/// What happens while texts are awaited.
enum class Reading {
  kGoesOn,  ///< Texts may have come.
  kBroken   ///< The subscription is of no use any more; another one has to be made.
};

/// A connection to the servers that hold the stream, which is made anew whenever it breaks.
///
/// It reads by a durable consumer of its own, which servers keep in as many copies as the stream, and for a minute
/// after the last question. It begins with the last text of each site and topic; whoever subscribes again gets these
/// again.
///
/// Threads: `Ask`, `Close` and what is const by any; the rest by one at a time.
/// Source: the NATS documentation, "JetStream wire API reference".
class StreamConnection {
 public:
  /// Connects to the first server that answers within some seconds; when none does, goes on without end.
  ///
  /// Fails: throws `std::runtime_error` for files and URLs that cannot be used.
  explicit StreamConnection(const StreamSettings& settings);
  StreamConnection(const StreamConnection&) = delete;
  StreamConnection& operator=(const StreamConnection&) = delete;
  ~StreamConnection() = default;

  /// Fails: throws `std::runtime_error` for files and URLs that cannot be used.
  static void RequireUsable(const StreamSettings& settings);

  bool IsConnected() const;

  /// Whether the client library has given up: another connection may fare better, later.
  bool IsOver() const;

  /// For people; of use while it is not connected.
  std::string WhyNotConnected() const;

  /// Subscribes to all texts, and makes the stream if there is none.
  ///
  /// Fails: throws `std::runtime_error` with what the servers say.
  void Subscribe();

  bool is_subscribed() const { return texts_ != nullptr; }

  /// Whether all texts that the stream had at the subscription have been read.
  bool has_read_all() const { return has_read_all_; }

  /// Gives a subscription up that is of no use any more.
  void Unsubscribe();

  /// Appends texts that come within this time, as soon as there are some. What is no text of a site is left out.
  Reading Read(std::chrono::milliseconds wait, std::vector<SiteText>& texts);

  /// Asks a site. Nothing: it did not answer within this time.
  std::optional<uplink::SiteReply> Ask(const std::string& site, const std::string& what, const std::string& text,
                                       std::chrono::milliseconds wait) const;

  /// Ends the connection and whatever waits for it, for good.
  void Close();

 private:
  void FindStream();

  /// Whether the consumer is still there; notes whether it has anything left.
  bool LookAtConsumer();
  Reading OnQuiet(std::chrono::steady_clock::time_point now);

  const StreamSettings settings_;
  const std::string consumer_;
  uplink::NatsConnection connection_;
  std::unique_ptr<jsCtx, uplink::ReleaseNats<&jsCtx_Destroy>> stream_;
  uplink::NatsSubscription texts_;  // null: not subscribed
  std::uint64_t next_ = 0;          // number of the next delivery of the consumer
  std::int64_t stream_made_ns_ = 0;
  bool has_read_all_ = false;
  std::chrono::steady_clock::time_point quiet_since_;
};

}  // namespace probe::centre
