#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "probe/uplink/nats_handles.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/uplink_settings.h"

namespace probe::uplink {

/// What came of a text that was to be stored.
enum class Delivery {
  kStored,   ///< The stream has it.
  kNotNow,   ///< No server said that it has it; to be tried again.
  kTooLarge  ///< No server will take it.
};

/// The connection to the servers, which is made anew whenever it breaks.
///
///   vexora.v1.SITE.TOPIC          a text, once, in order: into the stream
///   vexora.v1.SITE.request.WHAT   a request, answered to its reply subject
///
/// A text carries its id in the header `Nats-Msg-Id` as "SITE.TOPIC.ID", by which the stream drops what comes twice
/// within its duplicate window. What was sent before a connection broke may have been stored long before it is made
/// anew, so the last text of the topic is asked for then. Any server may answer, also one that lags behind; so each
/// text says behind which it is to be stored, in the header `Nats-Expected-Last-Subject-Sequence`, and is refused
/// behind any other.
///
/// Threads: one at a time; `NextRequest` and `Reply` are for another one. Source: the NATS documentation, "JetStream
/// wire API reference".
class StreamLink {
 public:
  /// Connects to the first server that answers within some seconds; when none does, goes on without end.
  ///
  /// Fails: throws `std::runtime_error` for files and URLs that cannot be used.
  explicit StreamLink(const UplinkSettings& settings);
  StreamLink(const StreamLink&) = delete;
  StreamLink& operator=(const StreamLink&) = delete;
  ~StreamLink() = default;

  /// Fails: throws `std::runtime_error` for files and URLs that cannot be used.
  static void RequireUsable(const UplinkSettings& settings);

  bool IsConnected() const;

  /// Whether the client library has given up, as it does when servers refuse the login twice: another link may fare
  /// better, later.
  bool IsOver() const;

  /// For people; of use while it is not connected.
  std::string WhyNotConnected() const;

  /// Sends texts, each of another topic, and waits until each is stored or it turns out that it is not, some seconds at
  /// most. What came of each.
  std::vector<Delivery> Publish(const std::vector<SpooledMessage>& messages);

  /// The next request, if one comes within this time.
  std::optional<SiteRequest> NextRequest(std::chrono::milliseconds wait);

  /// Sends an answer to a request. False: it has more octets than the servers take, and nothing was sent.
  bool Reply(const std::string& to, const SiteReply& reply);

  /// Ends the connection and whatever waits for it, for good. Threads: any.
  void Close();

  /// Why the last text was not stored, for people; empty: it was.
  const std::string& trouble() const { return trouble_; }

 private:
  std::string SubjectOf(const std::string& topic) const;
  std::string IdOf(const SpooledMessage& message) const;

  /// All topics may have been stored without our knowing it, if the connection was made anew.
  void NoticeReconnect();

  struct LastText {
    std::string id;              // empty: there is none, or somebody's who gave it none
    std::uint64_t sequence = 0;  // its number in the stream; 0: there is none
  };

  /// The last text of a topic; nothing: no server says.
  std::optional<LastText> LastOf(const std::string& topic) const;

  /// Sends a text, and has its answer come to our inbox under the number `at`.
  Delivery Send(const SpooledMessage& message, std::size_t at);

  /// Waits for the answers to these texts of the batch, and notes what was stored.
  void AwaitAnswers(const std::vector<SpooledMessage>& messages, std::set<std::size_t> awaited,
                    std::vector<Delivery>& deliveries);

  /// What the answer to a text of this topic says.
  Delivery OutcomeOf(natsMsg* answer, const std::string& topic);

  const std::string prefix_;  // "vexora.v1.SITE."
  const std::string site_;
  const std::string stream_;
  const std::string inbox_;
  NatsConnection connection_;
  NatsSubscription requests_;  // null, as the next: the connection was over at once
  NatsSubscription answers_;
  std::uint64_t sent_ = 0;  // batches: an answer to an older one is no answer to this
  std::uint64_t reconnects_ = 0;
  std::map<std::string, std::uint64_t> last_;  // number of the last text in the stream, by topic of which it is known
  std::string trouble_;
};

}  // namespace probe::uplink
