#include "tests/probe/server/raw_client.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

namespace test {
namespace {

constexpr int kDeadlineMilliseconds = 20'000;

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

bool IsReady(int socket, short event) {
  pollfd waiting{socket, event, 0};
  return poll(&waiting, 1, kDeadlineMilliseconds) > 0;
}

std::string FrameHead(int opcode, std::uint64_t length, bool is_last) {
  std::string head(1, static_cast<char>(opcode | (is_last ? 0x80 : 0)));
  if (length < 126) {
    head += static_cast<char>(0x80U | length);
  } else {
    const bool is_short = length < 65536;
    head += static_cast<char>(0x80 | (is_short ? 126 : 127));
    for (int shift = is_short ? 8 : 56; shift >= 0; shift -= 8) head += static_cast<char>((length >> shift) & 0xff);
  }
  return head + std::string(4, '\0');  // a mask of nothing but zeroes leaves the payload as it is
}

}  // namespace

RawClient::RawClient(std::uint16_t port, const std::string& address, int receive_buffer) : port_(port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* to = nullptr;
  if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &to) != 0) Fail("getaddrinfo");
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(to, &freeaddrinfo);
  socket_ = socket(to->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket_ < 0) Fail("socket");
  if (receive_buffer > 0) setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
  if (connect(socket_, to->ai_addr, to->ai_addrlen) != 0) Fail("connect");
}

RawClient::~RawClient() {
  close(socket_);
}

void RawClient::StartTls() {
  const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  tls_.reset(SSL_new(context.get()));
  const timeval deadline{kDeadlineMilliseconds / 1000, 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
  SSL_set_fd(tls_.get(), socket_);
  if (SSL_connect(tls_.get()) != 1) throw std::runtime_error("the TLS handshake failed");
}

void RawClient::Reset() {
  const linger at_once{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  close(socket_);
  socket_ = -1;
}

void RawClient::Send(const std::string& octets) {
  std::size_t sent = 0;
  while (sent < octets.size()) {
    if (!IsReady(socket_, POLLOUT)) throw std::runtime_error("the server takes nothing");
    const auto left = octets.size() - sent;
    const ssize_t count = tls_ ? SSL_write(tls_.get(), octets.data() + sent, static_cast<int>(left))
                               : send(socket_, octets.data() + sent, left, MSG_NOSIGNAL);
    if (count < 0) Fail("send");
    sent += static_cast<std::size_t>(count);
  }
}

void RawClient::EndSending() {
  if (tls_) {
    SSL_shutdown(tls_.get());
    return;
  }
  if (shutdown(socket_, SHUT_WR) != 0) Fail("shutdown");
}

bool RawClient::Fill() {
  const bool has_unread = tls_ && SSL_pending(tls_.get()) > 0;
  if (!has_unread && !IsReady(socket_, POLLIN)) throw std::runtime_error("the server says nothing");
  std::array<char, 65536> octets{};
  const ssize_t count =
      tls_ ? SSL_read(tls_.get(), octets.data(), octets.size()) : recv(socket_, octets.data(), octets.size(), 0);
  if (count <= 0) return false;
  received_.append(octets.data(), static_cast<std::size_t>(count));
  return true;
}

std::string RawClient::Cut(std::size_t count) {
  std::string part = received_.substr(0, count);
  received_.erase(0, count);
  return part;
}

bool RawClient::WaitForOctets(std::size_t count) {
  while (received_.size() < count) {
    if (!Fill()) return false;
  }
  return true;
}

std::string RawClient::ReadHead() {
  static const std::string end = "\r\n\r\n";
  while (received_.find(end) == std::string::npos) {
    if (!Fill()) return Cut(received_.size());
  }
  return Cut(received_.find(end) + end.size());
}

std::string RawClient::ReadAll() {
  while (Fill()) {
  }
  return Cut(received_.size());
}

std::string RawClient::Upgrade(const std::string& further_headers) {
  Send("GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) +
       "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
       "Sec-WebSocket-Version: 13\r\n" +
       further_headers + "\r\n");
  return ReadHead();
}

void RawClient::SendFrame(int opcode, const std::string& payload, bool is_last) {
  Send(FrameHead(opcode, payload.size(), is_last) + payload);
}

void RawClient::SendUnfinishedFrame(std::uint64_t announced, const std::string& payload) {
  Send(FrameHead(1, announced, true) + payload);
}

std::optional<Frame> RawClient::ReadFrame() {
  const auto octet = [this](std::size_t at) { return static_cast<unsigned char>(received_[at]); };
  if (!WaitForOctets(2)) return std::nullopt;
  const std::size_t announced = octet(1) & 0x7fU;
  const std::size_t length_octets = announced == 126 ? 2 : (announced == 127 ? 8 : 0);
  if (!WaitForOctets(2 + length_octets)) return std::nullopt;
  std::uint64_t length = length_octets == 0 ? announced : 0;
  for (std::size_t i = 0; i < length_octets; ++i) length = (length << 8) | octet(2 + i);
  if (!WaitForOctets(2 + length_octets + length)) return std::nullopt;
  Frame frame{octet(0) & 0x0f, (octet(0) & 0x80) != 0, {}};
  Cut(2 + length_octets);
  frame.payload = Cut(length);
  return frame;
}

std::optional<std::string> RawClient::ReadMessage() {
  std::string text;
  while (auto frame = ReadFrame()) {
    if (frame->opcode == 8) {
      if (frame->payload.size() >= 2)
        close_code_ =
            static_cast<unsigned char>(frame->payload[0]) << 8 | static_cast<unsigned char>(frame->payload[1]);
      return std::nullopt;
    }
    if (frame->opcode > 2) continue;
    text += frame->payload;
    if (frame->is_last) return text;
  }
  return std::nullopt;
}

}  // namespace test
