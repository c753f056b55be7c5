#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace probe {

/// Where and how to connect.
struct ClientOptions {
  std::string host = "127.0.0.1";  ///< Name or address to connect to.
  std::uint16_t port = 0;
  std::string target = "/";                    ///< Path and query.
  std::map<std::string, std::string> headers;  ///< Further request headers; "Host" replaces the usual one.
  bool tls = false;
  std::string trusted_certificate;                 ///< PEM file of the one certificate to trust; empty: the system's.
  int receive_buffer_octets = 0;                   ///< Size of the socket's buffer; 0: the system's choice.
  std::chrono::milliseconds connect_within{5000};  ///< For the connection and the handshakes together.
};

/// A connection that could not be made, or broke.
class ClientError : public std::runtime_error {
 public:
  explicit ClientError(const std::string& text, unsigned http_status = 0, std::string http_body = {})
      : std::runtime_error(text), http_status_(http_status), http_body_(std::move(http_body)) {}

  /// The status by which the server refused the upgrade; 0 when it did not get that far.
  unsigned http_status() const { return http_status_; }
  const std::string& http_body() const { return http_body_; }

 private:
  unsigned http_status_;
  std::string http_body_;
};

/// How a connection was closed. Source: RFC 6455, section 7.4.
struct CloseReason {
  std::uint16_t code = 0;  ///< 1006 when the connection just broke.
  std::string text;
};

/// A websocket connection, one step at a time.
///
/// Pings are answered inside `Receive` only: a client that does not call it looks dead to the server.
/// Threads: one at a time.
class WebsocketClient {
 public:
  /// Connects. Fails: throws `ClientError`.
  explicit WebsocketClient(const ClientOptions& options);
  ~WebsocketClient();
  WebsocketClient(WebsocketClient&&) noexcept;
  WebsocketClient& operator=(WebsocketClient&&) noexcept;

  /// Sends a message. Fails: throws `ClientError` when the connection is gone.
  void SendText(const std::string& text);
  void SendBinary(const std::string& octets);
  /// Sends one text message in several frames.
  void SendFragments(const std::vector<std::string>& fragments);

  /// The next message. Nothing: none came in time, or the connection is closed (`close_reason`).
  std::optional<std::string> Receive(std::chrono::milliseconds within);

  /// Why and how the connection was closed; nothing while it is open.
  std::optional<CloseReason> close_reason() const;

  /// Sends a close frame, and waits a short time for the server's.
  void Close();

  class Session;

 private:
  std::unique_ptr<Session> session_;
};

}  // namespace probe
