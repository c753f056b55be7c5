#include "probe/client/websocket_client.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <utility>

#include "probe/text/url_host.h"

namespace probe {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;

// Without compression, which the probe does not speak, and with the one executor that there is: half the code to
// compile.
using TcpStream = beast::basic_stream<asio::ip::tcp, asio::io_context::executor_type>;
template <typename Stream>
using WebsocketStream = websocket::stream<Stream, false>;

constexpr std::chrono::milliseconds kSendWithin{10000};
constexpr std::chrono::milliseconds kCloseWithin{2000};

std::string HostHeader(const ClientOptions& options) {
  const auto given = options.headers.find("Host");
  return given != options.headers.end() ? given->second : UrlHost(options.host) + ":" + std::to_string(options.port);
}

}  // namespace

/// One connection, over whatever stream.
class WebsocketClient::Session {
 public:
  virtual ~Session() = default;
  virtual void Send(const std::string& octets, bool is_text, bool is_last) = 0;
  virtual std::optional<std::string> Receive(std::chrono::milliseconds within) = 0;
  virtual void Close() = 0;

  std::optional<CloseReason> close_reason;
};

namespace {

/// Runs one asynchronous operation of a connection at a time, to have a deadline for each.
///
/// A read goes on when its deadline passes, and the next `Receive` waits for the same one: a read cannot be cancelled
/// without closing the connection.
template <typename Stream>
class StreamSession final : public WebsocketClient::Session {
 public:
  template <typename... Arguments>
  explicit StreamSession(Arguments&&... arguments) : stream_(io_, std::forward<Arguments>(arguments)...) {}

  void Connect(const ClientOptions& options) {
    auto& tcp = beast::get_lowest_layer(stream_);
    tcp.expires_after(options.connect_within);
    asio::ip::tcp::resolver resolver(io_);
    // Has no deadline: getaddrinfo(3) cannot be interrupted.
    const auto endpoints = resolver.resolve(options.host, std::to_string(options.port));
    Await([&](auto done) {
      // Opened here and not by `async_connect`, for the size of the buffer has to be set before it connects. tcp(7)
      tcp.socket().open(endpoints.begin()->endpoint().protocol());
      if (options.receive_buffer_octets > 0)
        tcp.socket().set_option(asio::socket_base::receive_buffer_size(options.receive_buffer_octets));
      tcp.async_connect(endpoints.begin()->endpoint(), std::move(done));
    });
    HandshakeTls(options);
    HandshakeWebsocket(options);
    // From now on `Run` keeps the deadline of each operation.
    tcp.expires_never();
  }

  void Send(const std::string& octets, bool is_text, bool is_last) override {
    stream_.text(is_text);
    bool is_done = false;
    error_code failure;
    stream_.async_write_some(is_last, asio::buffer(octets), [&](error_code error, std::size_t) {
      failure = error;
      is_done = true;
    });
    Run(is_done, kSendWithin);
    if (!is_done) {
      beast::get_lowest_layer(stream_).cancel();
      // The handler refers to this frame, so it has to run before the frame is left.
      Run(is_done, kSendWithin);
      throw ClientError("the message could not be sent in time");
    }
    if (failure) throw ClientError("the message could not be sent: " + failure.message());
  }

  std::optional<std::string> Receive(std::chrono::milliseconds within) override {
    if (close_reason) return std::nullopt;
    if (!is_reading_) StartRead();
    Run(has_read_, within);
    if (!has_read_) return std::nullopt;
    is_reading_ = false;
    if (read_error_) {
      // 1006 stands for a connection that ended without a close frame. RFC 6455, section 7.1.5
      const bool was_said = stream_.reason().code != websocket::close_code::none;
      close_reason = CloseReason{was_said ? stream_.reason().code : std::uint16_t{1006},
                                 was_said ? std::string(stream_.reason().reason.c_str()) : read_error_.message()};
      return std::nullopt;
    }
    std::string text = beast::buffers_to_string(buffer_.data());
    buffer_.consume(buffer_.size());
    return text;
  }

  void Close() override {
    if (close_reason) return;
    bool is_done = false;
    // Beside a read that may be under way: the library takes one operation of each kind at a time.
    stream_.async_close(websocket::close_code::normal, [&](error_code) { is_done = true; });
    Run(is_done, kCloseWithin);
    beast::get_lowest_layer(stream_).cancel();
    // As in `Send`: the handler refers to this frame.
    Run(is_done, kCloseWithin);
    close_reason = CloseReason{1000, "closed by this side"};
  }

 private:
  static constexpr bool kIsTls = !std::is_same_v<Stream, WebsocketStream<TcpStream>>;

  void HandshakeTls(const ClientOptions& options) {
    if constexpr (kIsTls) {
      // By this name a server with several certificates chooses one. RFC 6066, section 3
      SSL_set_tlsext_host_name(stream_.next_layer().native_handle(), options.host.c_str());
      Await([&](auto done) { stream_.next_layer().async_handshake(asio::ssl::stream_base::client, std::move(done)); });
    }
  }

  void HandshakeWebsocket(const ClientOptions& options) {
    stream_.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      for (const auto& [name, value] : options.headers) request.set(name, value);
    }));
    stream_.read_message_max(0);  // a message may be as large as the server likes
    websocket::response_type response;
    try {
      Await(
          [&](auto done) { stream_.async_handshake(response, HostHeader(options), options.target, std::move(done)); });
    } catch (const ClientError& failure) {
      // A refusal over HTTP tells more by its status and its text than the library's error does.
      if (response.result_int() == 0 || response.result() == http::status::switching_protocols) throw;
      throw ClientError(
          "the server refused the connection: " + std::to_string(response.result_int()) + " " + response.body(),
          response.result_int(), response.body());
    }
  }

  /// Starts an operation and waits for its end; the stream's own deadline bounds it. Throws when it failed.
  template <typename Start>
  void Await(Start start) {
    error_code failure;
    start([&](error_code error) { failure = error; });
    // A context that ran out of work runs nothing before it is restarted. No read is under way yet, so it runs out of
    // work again when this operation has ended.
    io_.restart();
    io_.run();
    if (failure) throw ClientError("cannot connect: " + failure.message());
  }

  void StartRead() {
    is_reading_ = true;
    has_read_ = false;
    stream_.async_read(buffer_, [this](error_code error, std::size_t) {
      read_error_ = error;
      has_read_ = true;
    });
  }

  /// Lets operations go on until one of them is done, or the time is over.
  void Run(const bool& is_done, std::chrono::milliseconds within) {
    const auto deadline = std::chrono::steady_clock::now() + within;
    io_.restart();
    while (!is_done && io_.run_one_until(deadline) > 0) {
    }
  }

  asio::io_context io_;
  Stream stream_;
  beast::flat_buffer buffer_;
  bool is_reading_ = false;
  bool has_read_ = false;
  error_code read_error_;
};

using PlainSession = StreamSession<WebsocketStream<TcpStream>>;
using TlsSession = StreamSession<WebsocketStream<beast::ssl_stream<TcpStream>>>;

/// A TLS session together with the settings that it refers to.
class OwningTlsSession final : public WebsocketClient::Session {
 public:
  explicit OwningTlsSession(const ClientOptions& options) : context_(asio::ssl::context::tls_client) {
    context_.set_verify_mode(asio::ssl::verify_peer);
    if (options.trusted_certificate.empty()) {
      context_.set_default_verify_paths();
    } else {
      context_.load_verify_file(options.trusted_certificate);
    }
    context_.set_verify_callback(asio::ssl::host_name_verification(options.host));
    session_ = std::make_unique<TlsSession>(context_);
    session_->Connect(options);
  }
  void Send(const std::string& octets, bool is_text, bool is_last) override {
    session_->Send(octets, is_text, is_last);
  }
  std::optional<std::string> Receive(std::chrono::milliseconds within) override {
    auto text = session_->Receive(within);
    close_reason = session_->close_reason;
    return text;
  }
  void Close() override {
    session_->Close();
    close_reason = session_->close_reason;
  }

 private:
  asio::ssl::context context_;
  std::unique_ptr<TlsSession> session_;
};

std::unique_ptr<WebsocketClient::Session> Connected(const ClientOptions& options) {
  if (options.tls) return std::make_unique<OwningTlsSession>(options);
  auto session = std::make_unique<PlainSession>();
  session->Connect(options);
  return session;
}

}  // namespace

WebsocketClient::WebsocketClient(const ClientOptions& options) try : session_(Connected(options)) {
} catch (const boost::system::system_error& failure) {
  throw ClientError(std::string("cannot connect: ") + failure.what());
}

WebsocketClient::~WebsocketClient() = default;
WebsocketClient::WebsocketClient(WebsocketClient&&) noexcept = default;
WebsocketClient& WebsocketClient::operator=(WebsocketClient&&) noexcept = default;

void WebsocketClient::SendText(const std::string& text) {
  session_->Send(text, true, true);
}

void WebsocketClient::SendBinary(const std::string& octets) {
  session_->Send(octets, false, true);
}

void WebsocketClient::SendFragments(const std::vector<std::string>& fragments) {
  for (std::size_t i = 0; i < fragments.size(); ++i) session_->Send(fragments[i], true, i + 1 == fragments.size());
}

std::optional<std::string> WebsocketClient::Receive(std::chrono::milliseconds within) {
  return session_->Receive(within);
}

std::optional<CloseReason> WebsocketClient::close_reason() const {
  return session_->close_reason;
}

void WebsocketClient::Close() {
  session_->Close();
}

}  // namespace probe
