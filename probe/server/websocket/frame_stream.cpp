#include "probe/server/websocket/frame_stream.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace probe {
namespace {

namespace asio = boost::asio;

// A frame that is not the last of its message is 64 KiB long with its head.
constexpr std::size_t kHeadBytes = 4;
constexpr std::size_t kFrameBytes = 64 * 1024;
constexpr std::size_t kPayloadBytes = kFrameBytes - kHeadBytes;

// Frames that the system is handed at once: the network library passes no more than 64 buffers on.
constexpr std::size_t kFramesAtOnce = 32;

// First octets of frames, and lengths. Source: RFC 6455, section 5.2.
constexpr unsigned kFinal = 0x80;
constexpr unsigned kText = 1;
constexpr char kCloseFrame = '\x88';
constexpr std::size_t kMaxShortLength = 125;
constexpr char kLengthIn16Bits = 126;

}  // namespace

/// A message that is being written.
struct FrameStream::Sending {
  using Head = std::array<char, kHeadBytes>;

  std::shared_ptr<const OutgoingMessage> message;
  std::function<void()> done;
  std::size_t sent = 0;                                     // octets of its frames, heads included
  std::size_t listed = 0;                                   // octets of the frames that are being written
  bool is_all_listed = false;                               // the last frame is among them
  std::array<Head, kFramesAtOnce> heads{};                  // of the frames that are being written
  std::array<asio::const_buffer, 2 * kFramesAtOnce> parts;  // head and payload of each of them

  /// The next frames, of the first one what is left of it.
  Transport::Buffers ListFrames(std::size_t max_frames) {
    const std::string_view text = message->text();
    std::size_t at = sent / kFrameBytes * kPayloadBytes;
    std::size_t count = 0;
    for (is_all_listed = false; count < max_frames && !is_all_listed; ++count) {
      const std::string_view payload = text.substr(at, kPayloadBytes);
      is_all_listed = at + payload.size() == text.size();
      const bool is_short = payload.size() <= kMaxShortLength;
      heads[count] = {static_cast<char>((is_all_listed ? kFinal : 0) | (at == 0 ? kText : 0)),
                      is_short ? static_cast<char>(payload.size()) : kLengthIn16Bits,
                      static_cast<char>(payload.size() >> 8), static_cast<char>(payload.size() & 0xff)};
      parts[2 * count] = asio::buffer(heads[count].data(), is_short ? 2 : kHeadBytes);
      parts[2 * count + 1] = asio::buffer(payload.data(), payload.size());
      at += payload.size();
    }
    const std::size_t begun = sent % kFrameBytes;
    parts[1] += begun - std::min(begun, parts[0].size());
    parts[0] += begun;
    const Transport::Buffers frames(parts.data(), 2 * count);
    listed = asio::buffer_size(frames);
    return frames;
  }
};

FrameStream::FrameStream(Transport& transport, std::function<void(std::size_t octets)> on_read)
    : transport_(transport), on_read_(std::move(on_read)) {}

FrameStream::~FrameStream() = default;

void FrameStream::Read(asio::mutable_buffer into, Transport::Transferred done) {
  if (kept_ == nullptr) return;
  auto on_read = [this, kept = kept_, done = std::move(done)](Error error, std::size_t count) {
    on_read_(count);
    done(error, count);
  };
  if (unread_.empty()) return transport_.ReadSome(into, std::move(on_read));
  const std::size_t count = asio::buffer_copy(into, asio::buffer(unread_));
  unread_.erase(0, count);
  asio::post(get_executor(), [on_read = std::move(on_read), count] { on_read({}, count); });
}

void FrameStream::WriteControl(std::string octets, Transport::Transferred done) {
  control_ = std::move(octets);
  control_rest_ = asio::buffer(control_);
  control_done_ = std::move(done);
  WriteNext();
}

void FrameStream::WriteMessage(std::shared_ptr<const OutgoingMessage> message, std::function<void()> done) {
  if (has_closed_) return;
  sending_ = std::make_unique<Sending>();
  sending_->message = std::move(message);
  sending_->done = std::move(done);
  WriteNext();
}

void FrameStream::WriteNext() {
  if (is_writing_ || kept_ == nullptr) return;
  const bool is_within_frame = sending_ != nullptr && sending_->sent % kFrameBytes != 0;
  if (control_rest_.size() > 0 && !is_within_frame) {
    Write({&control_rest_, 1}, &FrameStream::OnControlWritten);
  } else if (sending_ != nullptr) {
    Write(sending_->ListFrames(control_rest_.size() > 0 ? 1 : kFramesAtOnce), &FrameStream::OnFramesWritten);
  }
}

void FrameStream::Write(Transport::Buffers from, void (FrameStream::*on_written)(Error error, std::size_t count)) {
  is_writing_ = true;
  transport_.WriteSome(from, [this, kept = kept_, on_written](Error error, std::size_t count) {
    is_writing_ = false;
    (this->*on_written)(error, count);
    WriteNext();
  });
}

void FrameStream::OnControlWritten(Error error, std::size_t count) {
  control_rest_ += count;
  if (!error && control_rest_.size() > 0) return;
  if (error || control_.front() == kCloseFrame) EndMessages();
  control_rest_ = {};
  std::exchange(control_done_, nullptr)(error, control_.size());
}

void FrameStream::OnFramesWritten(Error error, std::size_t count) {
  if (error) return EndMessages();
  sending_->sent += count;
  if (!sending_->is_all_listed || count < sending_->listed) return;
  const auto sent = std::move(sending_);
  sent->done();
}

void FrameStream::EndMessages() {
  has_closed_ = true;
  sending_ = nullptr;
}

}  // namespace probe
