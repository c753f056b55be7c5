#include "probe/client/websocket_client.h"

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <utility>

#include "probe/client/client_stream.h"
#include "probe/text/url_host.h"

namespace probe {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using Time = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds kSendWithin{10000};
constexpr std::chrono::milliseconds kCloseWithin{2000};

std::string HostHeader(const ClientOptions& options) {
  const auto given = options.headers.find("Host");
  return given != options.headers.end() ? given->second : UrlHost(options.host) + ":" + std::to_string(options.port);
}

/// `complaint` gets what is wrong with the server's certificate, when one is checked; it has to outlive the context.
std::optional<asio::ssl::context> TlsContext(const ClientOptions& options, std::string& complaint) {
  if (!options.tls) return std::nullopt;
  asio::ssl::context context(asio::ssl::context::tls_client);
  context.set_verify_mode(asio::ssl::verify_peer);
  if (options.trusted_certificate.empty()) {
    context.set_default_verify_paths();
  } else {
    error_code failure;
    context.load_verify_file(options.trusted_certificate, failure);
    if (failure) throw ClientError("no certificate can be read from " + options.trusted_certificate);
  }
  context.set_verify_callback([name_check = asio::ssl::host_name_verification(options.host), host = options.host,
                               &complaint](bool is_trusted, asio::ssl::verify_context& chain) {
    if (!is_trusted) {
      complaint = std::string("is not trusted: ") +
                  X509_verify_cert_error_string(X509_STORE_CTX_get_error(chain.native_handle()));
    } else if (!name_check(is_trusted, chain)) {
      complaint = "is not for the address \"" + host + "\"";
    }
    return complaint.empty();
  });
  return context;
}

}  // namespace

/// Runs one asynchronous operation of a connection at a time, to have a deadline for each.
///
/// A read goes on when its deadline passes, and the next `Receive` waits for the same one: a read cannot be cancelled
/// without closing the connection.
class WebsocketClient::Session {
 public:
  explicit Session(const ClientOptions& options)
      : tls_(TlsContext(options, certificate_complaint_)),
        stream_(io_, tls_ ? &*tls_ : nullptr),
        socket_(stream_.next_layer().socket()) {
    const Time deadline = std::chrono::steady_clock::now() + options.connect_within;
    ConnectTcp(options, deadline);
    HandshakeTls(options, deadline);
    HandshakeWebsocket(options, deadline);
  }

  void Send(const std::string& octets, bool is_text, bool is_last) {
    stream_.text(is_text);
    bool is_done = false;
    error_code failure;
    stream_.async_write_some(is_last, asio::buffer(octets), [&](error_code error, std::size_t) {
      failure = error;
      is_done = true;
    });
    Run(is_done, std::chrono::steady_clock::now() + kSendWithin);
    if (!is_done) {
      Cancel(is_done);
      throw ClientError("the message could not be sent in time");
    }
    if (failure) throw ClientError("the message could not be sent: " + failure.message());
  }

  std::optional<std::string> Receive(std::chrono::milliseconds within) {
    if (close_reason) return std::nullopt;
    if (!is_reading_) StartRead();
    Run(has_read_, std::chrono::steady_clock::now() + within);
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

  void Close() {
    if (close_reason) return;
    bool is_done = false;
    // Beside a read that may be under way: the library takes one operation of each kind at a time.
    stream_.async_close(websocket::close_code::normal, [&](error_code) { is_done = true; });
    Run(is_done, std::chrono::steady_clock::now() + kCloseWithin);
    Cancel(is_done);
    close_reason = CloseReason{1000, "closed by this side"};
  }

  std::optional<CloseReason> close_reason;

 private:
  /// Tries the addresses of the host in their order.
  void ConnectTcp(const ClientOptions& options, Time deadline) {
    asio::ip::tcp::resolver resolver(io_);
    // Has no deadline: getaddrinfo(3) cannot be interrupted.
    error_code failure;
    const auto addresses = resolver.resolve(options.host, std::to_string(options.port), failure);
    if (failure) throw ClientError("cannot connect: the address \"" + options.host + "\": " + failure.message());
    for (auto address = addresses.begin(); address != addresses.end(); ++address) {
      try {
        Await(deadline, [&](auto done) {
          // Opened here and not by the library, for the size of the buffer has to be set before it connects. tcp(7)
          socket_.open(address->endpoint().protocol());
          if (options.receive_buffer_octets > 0)
            socket_.set_option(asio::socket_base::receive_buffer_size(options.receive_buffer_octets));
          socket_.async_connect(address->endpoint(), std::move(done));
        });
        return;
      } catch (const ClientError&) {
        error_code ignored;
        socket_.close(ignored);
        if (std::next(address) == addresses.end()) throw;
      }
    }
  }

  void HandshakeTls(const ClientOptions& options, Time deadline) {
    try {
      Await(deadline, [&](auto done) { stream_.next_layer().Handshake(options.host, std::move(done)); });
    } catch (const ClientError&) {
      if (certificate_complaint_.empty()) throw;
      throw ClientError("the certificate of " + UrlHost(options.host) + ":" + std::to_string(options.port) + " " +
                        certificate_complaint_);
    }
  }

  void HandshakeWebsocket(const ClientOptions& options, Time deadline) {
    stream_.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      for (const auto& [name, value] : options.headers) request.set(name, value);
    }));
    stream_.read_message_max(0);  // a message may be as large as the server likes
    websocket::response_type response;
    try {
      Await(deadline, [&](auto done) {
        stream_.async_handshake(response, HostHeader(options), options.target, std::move(done));
      });
    } catch (const ClientError& failure) {
      // A refusal over HTTP tells more by its status and its text than the library's error does.
      if (response.result_int() == 0 || response.result() == http::status::switching_protocols) throw;
      throw ClientError(
          "the server refused the connection: " + std::to_string(response.result_int()) + " " + response.body(),
          response.result_int(), response.body());
    }
  }

  /// Starts an operation and waits for its end. Throws when it failed, or did not end before the deadline.
  template <typename Start>
  void Await(Time deadline, Start start) {
    bool is_done = false;
    error_code failure;
    start([&](error_code error) {
      failure = error;
      is_done = true;
    });
    Run(is_done, deadline);
    if (!is_done) {
      Cancel(is_done);
      failure = beast::error::timeout;
    }
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
  void Run(const bool& is_done, Time deadline) {
    // A context that ran out of work runs nothing before it is restarted.
    io_.restart();
    while (!is_done && io_.run_one_until(deadline) > 0) {
    }
  }

  /// Cancels what is under way. The handler of an operation refers to the frame of its caller, so it has to run before
  /// that is left.
  void Cancel(const bool& is_done) {
    error_code ignored;
    socket_.cancel(ignored);
    Run(is_done, std::chrono::steady_clock::now() + kSendWithin);
  }

  asio::io_context io_;
  std::string certificate_complaint_;      // before the context, which writes it
  std::optional<asio::ssl::context> tls_;  // nothing: without TLS
  // Without compression, which the probe does not speak.
  websocket::stream<ClientStream, false> stream_;
  ClientStream::Socket& socket_;  // that of `stream_`
  beast::flat_buffer buffer_;
  bool is_reading_ = false;
  bool has_read_ = false;
  error_code read_error_;
};

WebsocketClient::WebsocketClient(const ClientOptions& options) try : session_(std::make_unique<Session>(options)) {
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
