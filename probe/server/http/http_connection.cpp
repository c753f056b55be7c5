#include "probe/server/http/http_connection.h"

#include <algorithm>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/http/answer_head.h"
#include "probe/text/secret.h"

namespace probe {
namespace {

// How long a client may take for its TLS handshake and the head of a request, and for the next one to begin.
constexpr std::chrono::seconds kRequestTimeout{10};
constexpr std::chrono::seconds kKeepAliveTimeout{5};

// How long a worker may take: longer than any pass of the engine that a report may have to wait for.
constexpr std::chrono::seconds kAnswerTimeout{60};

// When a client may ask again that found too many requests waiting: most answers take less. Units: s.
constexpr unsigned kRetryAfter = 1;

// How long a client that has got its last answer may take to end the connection.
constexpr std::chrono::seconds kFinishTimeout{2};

}  // namespace

HttpConnection::HttpConnection(std::unique_ptr<Transport> transport, AcceptedConnection accepted,
                               std::chrono::seconds stuck_after, HttpRequests& requests, HttpEvents& events)
    : stuck_after_(stuck_after),
      requests_(requests),
      events_(events),
      accepted_(std::move(accepted)),
      transport_(std::move(transport)),
      deadline_(transport_->get_executor()) {}

template <typename Step>
void HttpConnection::Guarded(const Step& step) try {
  if (!has_ended_) step();
} catch (const std::exception& failure) {
  log::Error("[WebServer] a connection is closed: %s", failure.what());
  Close();
}

void HttpConnection::Start() {
  Guarded([this] {
    StartDeadline(kRequestTimeout, &HttpConnection::OnRequestTimeout);
    transport_->Handshake(Calling(&HttpConnection::OnHandshake));
  });
}

void HttpConnection::OnHandshake(Transport::Error error) {
  if (error) return Close();
  ReadHead();
}

void HttpConnection::StartDeadline(std::chrono::seconds delay, void (HttpConnection::*on_due)()) {
  deadline_.Start(delay, Calling(on_due));
}

void HttpConnection::ReadHead() {
  if (!is_first_)
    StartDeadline(reader_.has_begun() ? kRequestTimeout : kKeepAliveTimeout, &HttpConnection::OnRequestTimeout);
  switch (reader_.state()) {
    case HeadReader::State::kIncomplete:
      return ReadMore();
    case HeadReader::State::kInvalid:
      return RefuseUnread(reader_.error());
    case HeadReader::State::kComplete:
      return OnHead();
  }
}

void HttpConnection::ReadMore() {
  transport_->ReadSome(boost::asio::buffer(received_), Calling(&HttpConnection::OnOctets));
}

void HttpConnection::OnOctets(Transport::Error error, std::size_t count) {
  if (is_refused_) return;
  if (error) {
    // A client that sends no more may still read.
    if (error != boost::asio::error::eof || !reader_.has_begun()) return Close();
    return RefuseUnread({400, "Refused: the request ends before its head does."});
  }
  const bool had_begun = reader_.has_begun();
  const auto state = reader_.Add({received_.data(), count});
  // Empty lines begin no request, and give no more time.
  const bool begins = !had_begun && reader_.has_begun();
  if (state != HeadReader::State::kIncomplete || (begins && !is_first_)) return ReadHead();
  ReadMore();
}

void HttpConnection::OnRequestTimeout() {
  if (!reader_.has_begun()) return Close();
  RefuseUnread({408, "Refused: the request did not come in time."});
}

void HttpConnection::OnHead() {
  auto head = reader_.Take();
  if (!head) return RefuseUnread(reader_.error());
  head_ = std::move(*head);
  head_.local_address = transport_->local_address();
  is_first_ = false;
  deadline_.Stop();
  const auto error = events_.OnRequest(*this, head_);
  // Nobody looks at it again.
  Wipe(head_.authorization);
  Wipe(received_.data(), received_.size());
  reader_.WipeTaken();
  if (error) return Refuse(*error);
  if (!head_.upgrade.empty()) return events_.OnUpgrade(*this, head_);
  // who has gone meanwhile, or was refused for the time it takes, gets no answer
  const bool has_begun = requests_.Begin({head_.path, head_.arguments, AcceptsGzip(head_.accept_encoding),
                                          head_.if_none_match, head_.accept, accepted_.holder},
                                         [waiting = weak_from_this()](HttpAnswer answer) {
                                           if (const auto self = waiting.lock())
                                             self->Guarded([&] { self->Answer(std::move(answer)); });
                                         });
  if (!has_begun) return Refuse({503, "Refused: too many requests wait for an answer.", kRetryAfter});
  StartDeadline(kAnswerTimeout, &HttpConnection::OnAnswerTimeout);
}

void HttpConnection::OnAnswerTimeout() {
  Refuse({503, "Refused: the answer takes too long. The request was given up."});
}

void HttpConnection::RefuseUnread(const HttpError& error) {
  head_ = RequestHead{};
  accepted_.ForgetClient();  // the one before, perhaps, who has nothing to do with it
  Refuse(error);
}

void HttpConnection::Refuse(const HttpError& error) {
  is_refused_ = true;
  events_.OnRefused(*this, error);
  const HttpAnswer answer = ErrorAnswer(error.status, CodeOfStatus(error.status), error.text);
  std::string head = RefusalHead(head_, error, answer);
  Send(std::move(head), head_.is_head() ? std::make_shared<const std::string>() : answer.body);
}

void HttpConnection::Answer(HttpAnswer answer) {
  if (is_refused_) return;
  const bool is_not_modified = answer.status == 200 && NamesEtag(head_.if_none_match, answer.etag);
  std::string head = AnswerHead(head_, answer, is_not_modified, events_.AllowedOrigin(head_),
                                answer.opens_session ? events_.SessionCookie(accepted_.holder) : std::string());
  if (is_not_modified || head_.is_head()) answer.body = std::make_shared<const std::string>();
  Send(std::move(head), std::move(answer.body));
}

void HttpConnection::Send(std::string head, std::shared_ptr<const std::string> body) {
  answer_head_ = std::move(head);
  answer_body_ = std::move(body);
  sent_ = 0;
  SendMore();
}

void HttpConnection::SendMore() {
  StartDeadline(stuck_after_, &HttpConnection::Close);
  const std::size_t of_head = std::min(sent_, answer_head_.size());
  const std::size_t of_body = sent_ - of_head;
  unsent_ = {boost::asio::buffer(answer_head_) + of_head, boost::asio::buffer(*answer_body_) + of_body};
  transport_->WriteSome(unsent_, Calling(&HttpConnection::OnSent));
}

void HttpConnection::OnSent(Transport::Error error, std::size_t count) {
  if (error) return Close();
  sent_ += count;
  if (sent_ < answer_head_.size() + answer_body_->size()) return SendMore();
  answer_body_.reset();
  if (is_refused_ || !head_.is_persistent()) return Finish();
  ReadHead();
}

void HttpConnection::Finish() {
  StartDeadline(kFinishTimeout, &HttpConnection::Close);
  transport_->Finish(Calling(&HttpConnection::Close));
}

void HttpConnection::Close() {
  if (std::exchange(has_ended_, true)) return;
  const auto self = shared_from_this();  // the server may hold the last reference
  deadline_.Stop();
  transport_->Close();
  events_.OnEnd(*this);
}

std::unique_ptr<Transport> HttpConnection::TakeTransport() {
  has_ended_ = true;
  deadline_.Stop();
  return std::move(transport_);
}

}  // namespace probe
