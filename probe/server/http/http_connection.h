#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"
#include "probe/server/http/http_requests.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/transport.h"

namespace probe {

class HttpConnection;

/// What HTTP connections ask of the server, and tell it.
class HttpEvents {
 public:
  virtual ~HttpEvents() = default;

  /// Why a request is refused; nothing: it may go ahead.
  virtual std::optional<HttpError> OnRequest(HttpConnection& connection, const RequestHead& head) = 0;

  /// The foreign page that may read the answer, as in `AccessRules::AllowedOrigin`.
  virtual std::string AllowedOrigin(const RequestHead& head) const = 0;

  /// The cookie for a page that has shown this holder's token, as in `AccessRules::SessionCookie`.
  virtual std::string SessionCookie(const std::string& holder) const = 0;

  /// A request was refused, also one that could not be read.
  virtual void OnRefused(HttpConnection& connection, const HttpError& error) = 0;

  /// A websocket handshake that may go ahead: the connection becomes a websocket, and this object has ended.
  virtual void OnUpgrade(HttpConnection& connection, const RequestHead& head) = 0;

  /// The connection has ended.
  virtual void OnEnd(HttpConnection& connection) = 0;
};

/// A connection from the moment when it was accepted until it ends or becomes a websocket: reads requests, one after
/// the other, and answers them.
///
/// Every wait has a deadline. Requests that come before the one before is answered wait unread.
/// Threads: the event loop's only.
class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  /// `stuck_after`: how long the client may take nothing of an answer.
  HttpConnection(std::unique_ptr<Transport> transport, AcceptedConnection accepted, std::chrono::seconds stuck_after,
                 HttpRequests& requests, HttpEvents& events);
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  void Start();

  /// Ends it at once.
  void Close();

  AcceptedConnection& accepted() { return accepted_; }

  /// For an upgrade: takes the connection over.
  std::unique_ptr<Transport> TakeTransport();

  /// The octets that came after the request, once.
  std::string TakeRest() { return reader_.TakeRest(); }

 private:
  /// Carries out what an event calls for; what it throws ends this connection alone.
  template <typename Step>
  void Guarded(const Step& step);

  /// An event's function that calls this step, guarded; it keeps this object.
  template <typename... Arguments>
  auto Calling(void (HttpConnection::*step)(Arguments...)) {
    return [self = shared_from_this(), step](Arguments... arguments) {
      self->Guarded([&] { (self.get()->*step)(arguments...); });
    };
  }

  /// Has the connection carry this out after `delay`, unless another deadline takes its place.
  void StartDeadline(std::chrono::seconds delay, void (HttpConnection::*on_due)());
  void OnHandshake(Transport::Error error);
  void ReadHead();
  void ReadMore();
  void OnOctets(Transport::Error error, std::size_t count);
  void OnHead();
  void OnRequestTimeout();
  void OnAnswerTimeout();
  void Refuse(const HttpError& error);
  void RefuseUnread(const HttpError& error);
  void Answer(HttpAnswer answer);
  void Send(std::string head, std::shared_ptr<const std::string> body);
  void SendMore();
  void OnSent(Transport::Error error, std::size_t count);
  void Finish();

  const std::chrono::seconds stuck_after_;
  HttpRequests& requests_;
  HttpEvents& events_;
  AcceptedConnection accepted_;
  std::unique_ptr<Transport> transport_;  // null once it is another's
  Timer deadline_;
  HeadReader reader_;
  std::array<char, 2048> received_{};
  bool is_first_ = true;     // no request has come yet
  bool is_refused_ = false;  // what comes now is dropped
  bool has_ended_ = false;   // the server knows that it has, or the transport is another's

  RequestHead head_;  // of the request that is being answered
  std::string answer_head_;
  std::shared_ptr<const std::string> answer_body_;
  std::size_t sent_ = 0;  // octets of both
  std::array<boost::asio::const_buffer, 2> unsent_;
};

}  // namespace probe
