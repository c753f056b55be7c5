#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/server/http/http_head.h"
#include "probe/server/net/address_rates.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/transport.h"
#include "probe/server/websocket/message_assembler.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/protocol.h"

namespace probe {

class Connection;

/// What websocket connections tell the server.
class WebsocketEvents {
 public:
  virtual ~WebsocketEvents() = default;

  /// The handshake is being answered: from now on the connection can be sent to.
  virtual void OnStart(Connection& connection) = 0;

  /// The first message of a client that has to log in with it. True: it may stay.
  virtual bool OnLogin(Connection& connection, const std::string& text) = 0;

  /// A client has sent a message that keeps to the limits of its connection. It is to be answered with `Reply`.
  virtual void OnMessage(Connection& connection, const std::string& text) = 0;

  /// It has begun to close: nothing can be sent over it any more, and its subscriptions go.
  virtual void OnClosing(Connection& connection) = 0;

  /// It has ended.
  virtual void OnEnd(Connection& connection) = 0;
};

/// An open websocket: reads messages, writes those of its outbox, and sees to it that the client takes them and lives.
///
/// Threads: the event loop's only. Of what it points to only the outbox is shared, and has a lock of its own.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  using Clock = std::chrono::steady_clock;

  Connection(ConnectionId id, std::unique_ptr<Transport> transport, AcceptedConnection accepted,
             const ServerLimits& limits, std::shared_ptr<QueueTotal> total, WebsocketEvents& events);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Answers the handshake, which the access rules have let pass, and begins to read. `unread`: the octets that came
  /// after it. A failure ends this connection.
  void Start(const RequestHead& handshake, std::string unread);

  /// To be called before it is started: nothing is served until the first message has been accepted as a login, which
  /// must come soon.
  void AwaitLogin();

  /// Writes what the outbox has got; a failure ends this connection.
  void OnOutbox();

  /// Puts an answer into the outbox, and writes.
  void Reply(std::string text);

  /// Tells the client that the connection is closed, after the fragment that is being written, and waits until it has
  /// confirmed that, but not for long.
  void StartClose(std::uint16_t code);

  /// Ends it at once.
  void Abort();

  ConnectionId id() const { return id_; }
  bool awaits_login() const { return login_due_.has_value(); }
  const AcceptedConnection& accepted() const { return accepted_; }
  const std::shared_ptr<Outbox>& outbox() const { return outbox_; }

 private:
  class Stream;

  /// Carries out what an event calls for; what it throws ends this connection alone.
  template <typename Step>
  void Guarded(const Step& step);

  /// An event's function that calls this step, guarded; it keeps this object.
  template <typename... Arguments>
  auto Calling(void (Connection::*step)(Arguments...)) {
    return [self = shared_from_this(), step](Arguments... arguments) {
      self->Guarded([&] { (self.get()->*step)(arguments...); });
    };
  }

  void AnswerHandshake(const RequestHead& handshake);
  void OnOpen(Transport::Error error);
  void Read();
  void OnOctets(std::size_t count);
  void OnRead(Transport::Error error, std::size_t count);
  /// Whether a message is within the limits; if it isn't, the client is told now and then.
  bool IsWithinRates(std::size_t octets);
  void HandleMessage(MessageAssembler::State state);
  void HandleLogin(MessageAssembler::State state, std::string& text);
  void OnPong();
  void Flush();
  void OnWritten();
  void BeginClosing();
  void SendClose();
  void SendPing();
  void OnPingSent(Transport::Error error);
  void Finish();

  bool IsPingNext() const;
  void StartWatch();
  void CloseAsSlow(const std::string& why);
  void WatchProgress(Clock::time_point now);
  void WatchLife(Clock::time_point now);
  void OnTimer();
  void StartTimer();

  const ConnectionId id_;
  const ServerLimits& limits_;
  WebsocketEvents& events_;
  AcceptedConnection accepted_;
  const std::shared_ptr<Outbox> outbox_;
  const std::unique_ptr<Transport> transport_;
  Timer timer_;
  std::shared_ptr<Stream> stream_;  // null when the connection has ended
  MessageAssembler incoming_;
  ClientRates rates_;
  RateLimiter overhead_;  // of the octets that are no message

  bool is_open_ = false;       // the handshake is answered
  bool is_closing_ = false;    // the server knows, and nothing is sent any more
  bool is_finishing_ = false;  // the closing handshake is over, or has failed
  bool has_ended_ = false;     // the transport is closed, and the server knows

  std::optional<Clock::time_point> login_due_;  // nothing: the client has shown the token, or need not

  bool is_writing_ = false;  // a message

  bool is_watched_ = false;                        // unsent data: the write timeout is running
  std::uint64_t taken_by_peer_ = 0;                // octets, when the client was last seen taking some
  Clock::time_point moved_at_;                     // when that was
  std::optional<Clock::time_point> behind_since_;  // since when something has been waiting; nothing: nothing is

  Clock::time_point lived_at_;  // when the client last gave a sign of life
  bool is_pinged_ = false;      // it has been asked for one since
  bool is_pinging_ = false;     // the ping is being written; the library takes one at a time

  std::uint16_t close_code_ = 0;  // that this side has begun to close with; 0: it has not
  Clock::time_point close_due_;   // when the connection is aborted if it has not closed
};

}  // namespace probe
