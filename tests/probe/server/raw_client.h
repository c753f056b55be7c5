#pragma once

#include <openssl/ssl.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace test {

/// One websocket frame as it came over the wire.
struct Frame {
  int opcode = 0;
  bool is_last = false;
  std::string payload;
};

/// A TCP connection whose owner says every octet himself, to do what no well-behaved client does. It answers nothing
/// by itself, no ping either. Every wait has a deadline of 20 seconds.
class RawClient {
 public:
  /// Connects. `receive_buffer`: size of the socket's buffer, 0 for the system's choice.
  explicit RawClient(std::uint16_t port, const std::string& address = "127.0.0.1", int receive_buffer = 0);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  /// Goes on over TLS, whoever the server is.
  void StartTls();

  void Send(const std::string& octets);
  /// Says that nothing more comes, and goes on to listen.
  void EndSending();

  /// Everything up to and with the empty line after the head of an HTTP answer. Short when the connection ends before.
  std::string ReadHead();
  /// Everything until the server closes the connection.
  std::string ReadAll();
  /// Waits until this many octets more have come in; they stay to be read. False when the connection ends before.
  bool WaitForOctets(std::size_t count);

  /// Becomes a websocket. The head of the server's answer.
  std::string Upgrade(const std::string& further_headers = "");
  /// Sends one frame, masked as a client must.
  void SendFrame(int opcode, const std::string& payload, bool is_last = true);
  /// Says that a frame of `announced` octets follows, and sends only `payload`.
  void SendUnfinishedFrame(std::uint64_t announced, const std::string& payload);
  /// The next frame; nothing when the connection ends before.
  std::optional<Frame> ReadFrame();
  /// The next text message, joined from its frames; pings are passed over. Nothing for a close frame or the end, and
  /// `close_code` tells which.
  std::optional<std::string> ReadMessage();
  /// The code of the close frame that came; 0: none did.
  int close_code() const { return close_code_; }

  /// Ends the connection as a crashed machine does not: at once, and visibly.
  void Reset();

 private:
  bool Fill();
  std::string Cut(std::size_t count);

  int socket_;
  std::unique_ptr<SSL, void (*)(SSL*)> tls_{nullptr, &SSL_free};  // null: there is none
  std::uint16_t port_;
  std::string received_;
  int close_code_ = 0;
};

}  // namespace test
