#include "probe/server/websocket/connection.h"

#include <algorithm>
#include <array>
#include <boost/beast/websocket/stream.hpp>
#include <limits>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/websocket/close_codes.h"
#include "probe/server/websocket/frame_stream.h"
#include "probe/server/websocket/message_router.h"
#include "probe/text/secret.h"
#include "probe/text/utf8.h"

namespace probe {
namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

// Octets of frame heads and control frames that a client may send for each message that it may send.
constexpr std::size_t kOverheadBytes = 256;
constexpr std::size_t kMaxHeadBytes = 14;

// How long a client that is being closed may take, at most, to take the last octets and to confirm.
constexpr std::chrono::seconds kCloseTimeout{5};

// The same for one whose messages take the room of others.
constexpr std::chrono::seconds kGivenUpTimeout{1};

// How long a client may take for its login.
constexpr std::chrono::seconds kLoginTimeout{10};

// How long a client that has confirmed may take to end the connection.
constexpr std::chrono::seconds kFinishTimeout{2};

// How often is looked whether a client takes something: ten times before it is given up, within these bounds.
constexpr std::chrono::milliseconds kMinWatch{20};
constexpr std::chrono::seconds kMaxWatch{1};

// A client that takes nothing for this part of the time after which it is closed gets no new messages meanwhile.
constexpr int kPartUntilLeftOut = 4;

constexpr std::size_t kReadBytes = 4096;

// What the probe calls its messages where a client asks for a subprotocol.
constexpr char kSubprotocol[] = "vexora-probe";

/// The handshake again, as the library wants it: what it looks at, and nothing else.
websocket::request_type RequestOf(const RequestHead& head) {
  namespace http = beast::http;
  websocket::request_type request(http::verb::get, "/", 11);
  request.set(http::field::host, head.host.value_or(""));
  request.set(http::field::upgrade, "websocket");
  request.set(http::field::connection, "upgrade");
  request.set(http::field::sec_websocket_key, head.websocket_key);
  request.set(http::field::sec_websocket_version, head.websocket_version);
  return request;
}

}  // namespace

/// The library's websocket, without compression.
class Connection::Stream : public websocket::stream<FrameStream, false> {
 public:
  using stream::stream;

  websocket::request_type handshake;
  std::array<char, kReadBytes> received{};
};

Connection::Connection(ConnectionId id, std::unique_ptr<Transport> transport, AcceptedConnection accepted,
                       const ServerLimits& limits, std::shared_ptr<QueueTotal> total, WebsocketEvents& events)
    : id_(id),
      limits_(limits),
      events_(events),
      accepted_(std::move(accepted)),
      outbox_(std::make_shared<Outbox>(limits.queue_messages, limits.queue_bytes, std::move(total))),
      transport_(std::move(transport)),
      timer_(transport_->get_executor()),
      stream_(std::make_shared<Stream>(*transport_, [this](std::size_t count) { OnOctets(count); })),
      incoming_(limits.message_bytes),
      rates_(limits, accepted_.rates.of_address(), Clock::now()),
      overhead_(limits.messages_per_second * kOverheadBytes, Clock::now()),
      lived_at_(Clock::now()) {}

Connection::~Connection() = default;

template <typename Step>
void Connection::Guarded(const Step& step) try {
  if (!has_ended_) step();
} catch (const std::exception& failure) {
  log::Error("[WebServer] a connection is closed: %s", failure.what());
  Abort();
}

void Connection::Start(const RequestHead& handshake, std::string unread) {
  Guarded([&] {
    stream_->next_layer().Keep(stream_);
    stream_->next_layer().Unread(std::move(unread));
    events_.OnStart(*this);
    StartTimer();
    AnswerHandshake(handshake);
  });
}

void Connection::AwaitLogin() {
  login_due_ = Clock::now() + kLoginTimeout;
}

void Connection::AnswerHandshake(const RequestHead& handshake) {
  // Any size goes, for the assembler drops what is too large; but RFC 6455, section 5.2 has lengths of 63 bits only.
  stream_->read_message_max(std::numeric_limits<std::int64_t>::max());
  stream_->set_option(websocket::stream_base::decorator([&handshake](websocket::response_type& response) {
    response.set(beast::http::field::server, "vexora-probe");
    if (!handshake.websocket_protocol.empty()) response.set(beast::http::field::sec_websocket_protocol, kSubprotocol);
  }));
  stream_->control_callback([this](websocket::frame_type kind, beast::string_view) {
    Guarded([&] {
      if (kind == websocket::frame_type::pong) OnPong();
      // Codes above are in nobody's range (RFC 6455, section 7.4.2), and the library would answer with the same one.
      if (kind == websocket::frame_type::close && stream_->reason().code > close_code::kGreatest)
        StartClose(close_code::kProtocolError);
    });
  });
  stream_->handshake = RequestOf(handshake);
  stream_->async_accept(stream_->handshake, Calling(&Connection::OnOpen));
}

void Connection::OnOpen(Transport::Error error) {
  if (error) return Abort();
  is_open_ = true;
  stream_->handshake = {};
  if (close_code_ != 0) SendClose();
  Read();
  Flush();
  StartTimer();
}

// --- what the client says -------------------------------------------------------------------------------------------

void Connection::Read() {
  // Once this side closes the library reads on by itself until the client confirms. A reader that meets a broken frame
  // then waits for the close, which waits for that reader: no second one is started, and `Abort` ends both.
  if (close_code_ != 0) return;
  stream_->async_read_some(boost::asio::buffer(stream_->received), Calling(&Connection::OnRead));
}

void Connection::OnRead(Transport::Error error, std::size_t count) {
  // The library has answered the client's close by then, or told it which rule it broke.
  if (error) return Finish();
  if (!is_closing_) {
    const std::string_view piece(stream_->received.data(), count);
    const bool is_last = stream_->is_message_done();
    overhead_.Give(static_cast<double>(count + (is_last ? kMaxHeadBytes : 0)));
    const auto state = incoming_.Add(piece, stream_->got_binary(), is_last);
    if (state != MessageAssembler::State::kIncomplete) HandleMessage(state);
  }
  Read();
}

/// Counts what is no payload of a message: the library answers pings and drops empty frames by itself, without end.
void Connection::OnOctets(std::size_t count) {
  Guarded([&] {
    if (is_closing_ || overhead_.Take(static_cast<double>(count), Clock::now())) return;
    log::Info("[WebServer] connection %llu of %s is closed with 1008: it sent more frames than %s allows",
              static_cast<unsigned long long>(id_), accepted_.address.c_str(),
              LimitText("messages_per_second", limits_.messages_per_second).c_str());
    StartClose(close_code::kPolicyViolation);
  });
}

bool Connection::IsWithinRates(std::size_t octets) {
  const auto [limit, result] = rates_.Count(octets, Clock::now());
  if (result != RateLimiter::Result::kRejected) return result == RateLimiter::Result::kAccepted;
  const std::string messages = LimitText("messages_per_second", limits_.messages_per_second);
  const std::string bytes = LimitText("bytes_per_second", limits_.bytes_per_second);
  std::string text = "A client may send no more messages than " + messages;
  if (limit == ClientRates::Limit::kOctets) text = "A client may send no more octets than " + bytes;
  if (limit == ClientRates::Limit::kAddress)
    text = "All connections of one address together may send no more than " + std::to_string(AddressRates::kTimes) +
           " times " + messages + " and " + bytes;
  Reply(ErrorText({error_code::kTooFast, text + ". This one and those that follow too fast are not looked at."}));
  return false;
}

void Connection::HandleMessage(MessageAssembler::State state) {
  std::string text = incoming_.Take();
  // Before any rate: others of its address, who use that up, must not keep a client from logging in.
  if (login_due_) return HandleLogin(state, text);
  if (!IsWithinRates(state == MessageAssembler::State::kTooLarge ? limits_.message_bytes : text.size())) return;
  if (state == MessageAssembler::State::kBinary)
    return Reply(ErrorText({error_code::kNotText, "Messages are text; this one is binary."}));
  if (state == MessageAssembler::State::kTooLarge)
    return Reply(
        ErrorText({error_code::kTooLarge,
                   "The message is larger than " + LimitText("message_bytes", limits_.message_bytes) + " allows."}));
  // The library checks every octet, but not that the last character of a message that ends with an empty frame is
  // whole.
  if (!IsUtf8(text)) return StartClose(close_code::kInvalidPayload);
  events_.OnMessage(*this, text);
}

void Connection::HandleLogin(MessageAssembler::State state, std::string& text) {
  const bool is_in = state == MessageAssembler::State::kText && events_.OnLogin(*this, text);
  // Nobody looks at them again.
  Wipe(text);
  Wipe(stream_->received.data(), stream_->received.size());
  if (!is_in) {
    Reply(ErrorText({error_code::kUnauthorized, "The first message must be the token of the probe, and was not."}));
    return StartClose(close_code::kPolicyViolation);
  }
  login_due_.reset();
  Reply(LoggedInText());
}

// --- what it is told ------------------------------------------------------------------------------------------------

void Connection::Reply(std::string text) {
  if (outbox_->Put(std::move(text), OutgoingMessage::Kind::kReply)) MessageRouter::LogFirstDrop(id_, accepted_.address);
  Flush();
}

void Connection::OnOutbox() {
  Guarded([&] { Flush(); });
}

void Connection::Flush() {
  if (!is_open_ || is_closing_ || is_writing_) return;
  auto message = outbox_->Take();
  if (message == nullptr) {
    behind_since_.reset();
    return;
  }
  if (!behind_since_) behind_since_ = Clock::now();
  StartWatch();
  is_writing_ = true;
  stream_->next_layer().WriteMessage(std::move(message), Calling(&Connection::OnWritten));
}

void Connection::OnWritten() {
  is_writing_ = false;
  Flush();
}

void Connection::SendPing() {
  is_pinged_ = is_pinging_ = true;
  stream_->async_ping({}, Calling(&Connection::OnPingSent));
}

void Connection::OnPingSent(Transport::Error) {
  is_pinging_ = false;
  StartTimer();
}

void Connection::OnPong() {
  lived_at_ = Clock::now();
  is_pinged_ = false;
  StartTimer();
}

// --- slow clients, silent ones, and the end -------------------------------------------------------------------------

void Connection::StartWatch() {
  if (is_watched_) return;
  is_watched_ = true;
  moved_at_ = Clock::now();
  taken_by_peer_ = transport_->octets_taken_by_peer();
  StartTimer();
}

void Connection::WatchProgress(Clock::time_point now) {
  is_watched_ = is_writing_ || !outbox_->IsEmpty();
  // What the system's buffers swallow is no progress: a client that takes nothing is found by what it acknowledges.
  const std::uint64_t taken = transport_->octets_taken_by_peer();
  if (taken != taken_by_peer_) {
    taken_by_peer_ = taken;
    moved_at_ = now;
  }
  outbox_->SetStuck(is_watched_ && now - moved_at_ >= limits_.stuck_after / kPartUntilLeftOut);
  if (!is_watched_) return;
  if (outbox_->IsGivenUp()) {
    CloseAsSlow("what it has not taken yet needs the room of others, " +
                LimitText("all_queues_bytes", limits_.all_queues_bytes));
    close_due_ = std::min(close_due_, now + kGivenUpTimeout);
    return;
  }
  if (now - moved_at_ >= limits_.stuck_after)
    return CloseAsSlow("it took nothing for " +
                       LimitText("stuck_after_seconds", static_cast<std::size_t>(limits_.stuck_after.count())));
  if (behind_since_ && now - *behind_since_ >= limits_.queue_for)
    CloseAsSlow("its queue was never empty for " +
                LimitText("queue_seconds", static_cast<std::size_t>(limits_.queue_for.count())));
}

void Connection::CloseAsSlow(const std::string& why) {
  log::Info("[WebServer] connection %llu of %s is closed with 1013: %s", static_cast<unsigned long long>(id_),
            accepted_.address.c_str(), why.c_str());
  StartClose(close_code::kTryAgainLater);
}

void Connection::WatchLife(Clock::time_point now) {
  if (now - lived_at_ >= limits_.hang_up_after) return Abort();
  if (IsPingNext() && now - lived_at_ >= limits_.ping_after) SendPing();
}

bool Connection::IsPingNext() const {
  // A pong may come unasked while a ping waits behind a fragment that the client does not take.
  return is_open_ && !is_pinged_ && !is_pinging_;
}

void Connection::StartTimer() {
  if (is_finishing_ || has_ended_) return;
  auto due = lived_at_ + (IsPingNext() ? limits_.ping_after : limits_.hang_up_after);
  if (is_watched_)
    due = std::min(due, Clock::now() + std::clamp<Clock::duration>(limits_.stuck_after / 10, kMinWatch, kMaxWatch));
  if (login_due_) due = std::min(due, *login_due_);
  timer_.StartAt(close_code_ != 0 ? close_due_ : due, Calling(&Connection::OnTimer));
}

void Connection::OnTimer() {
  if (close_code_ != 0) return Abort();
  const auto now = Clock::now();
  if (login_due_ && now >= *login_due_) return StartClose(close_code::kPolicyViolation);
  if (is_watched_) WatchProgress(now);
  if (close_code_ == 0) WatchLife(now);
  StartTimer();
}

void Connection::BeginClosing() {
  if (std::exchange(is_closing_, true)) return;
  outbox_->Close();
  events_.OnClosing(*this);
}

void Connection::StartClose(std::uint16_t code) {
  if (is_closing_) return;
  BeginClosing();
  close_code_ = code;
  // A client that takes nothing cannot be told either. It gets a last chance, and then the connection is aborted.
  close_due_ = Clock::now() + std::clamp(limits_.stuck_after, std::chrono::seconds(1), kCloseTimeout);
  if (is_open_) SendClose();
  StartTimer();
}

void Connection::SendClose() {
  // It goes out after the frame that is being written, and the library waits for the client's confirmation.
  stream_->async_close(static_cast<websocket::close_code>(close_code_),
                       [self = shared_from_this()](beast::error_code) { self->Guarded([&] { self->Finish(); }); });
}

void Connection::Finish() {
  if (std::exchange(is_finishing_, true)) return;
  BeginClosing();
  timer_.Start(kFinishTimeout, Calling(&Connection::Abort));
  transport_->Finish(Calling(&Connection::Abort));
}

void Connection::Abort() {
  if (std::exchange(has_ended_, true)) return;
  const auto self = shared_from_this();  // the server may hold the last reference
  timer_.Stop();
  transport_->Close();
  // Of what the library has under way some may wait for one another, and for nothing else. It goes with the stream,
  // once the transport has let go of it.
  stream_->next_layer().Keep(nullptr);
  stream_ = nullptr;
  try {
    BeginClosing();
  } catch (const std::exception& failure) {
    log::Error("[WebServer] a connection that has ended could not be forgotten: %s", failure.what());
  }
  events_.OnEnd(*this);
}

}  // namespace probe
