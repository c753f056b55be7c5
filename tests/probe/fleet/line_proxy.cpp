#include "tests/probe/fleet/line_proxy.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <cstddef>
#include <future>
#include <utility>

namespace test {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

constexpr std::size_t kPiece = 16 * 1024;
constexpr milliseconds kLook{10};  // how late it is noticed that a line is mended

}  // namespace

/// A client's connection, and the one to the server behind it.
class LineProxy::Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(LineProxy& line, tcp::socket client)
      : line_(line), up_{std::move(client), line.context_}, down_{tcp::socket(line.context_), line.context_} {}

  void Start() {
    down_.from.async_connect(line_.server_, [self = shared_from_this()](error_code failed) {
      if (failed) return self->End();
      self->Read(self->up_, self->down_);
      self->Read(self->down_, self->up_);
    });
  }

  void End() {
    error_code ignored;
    up_.from.close(ignored);
    down_.from.close(ignored);
    line_.connections_.erase(shared_from_this());
  }

 private:
  /// One of its two ends, and what is read from there.
  struct Side {
    Side(tcp::socket socket, boost::asio::io_context& context) : from(std::move(socket)), timer(context) {}
    tcp::socket from;
    boost::asio::steady_timer timer;
    std::array<char, kPiece> piece{};
  };

  void Read(Side& from, Side& to) {
    from.from.async_read_some(boost::asio::buffer(from.piece),
                              [self = shared_from_this(), &from, &to](error_code failed, std::size_t size) {
                                if (failed) return self->End();
                                self->Carry(from, to, size, self->line_.delay_);
                              });
  }

  void Carry(Side& from, Side& to, std::size_t size, milliseconds delay) {
    if (line_.state_ == State::kIsHeld) delay = kLook;
    if (delay.count() > 0) {
      from.timer.expires_after(delay);
      from.timer.async_wait([self = shared_from_this(), &from, &to, size](error_code failed) {
        if (!failed) self->Carry(from, to, size, milliseconds(0));
      });
      return;
    }
    boost::asio::async_write(to.from, boost::asio::buffer(from.piece, size),
                             [self = shared_from_this(), &from, &to](error_code failed, std::size_t /*size*/) {
                               if (failed) return self->End();
                               self->Read(from, to);
                             });
  }

  LineProxy& line_;
  Side up_;    // the client's
  Side down_;  // the server's
};

LineProxy::LineProxy(int port)
    : server_(boost::asio::ip::address_v4::loopback(), static_cast<unsigned short>(port)),
      acceptor_(context_, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)) {
  Accept();
  thread_ = std::thread([this] { context_.run(); });
}

LineProxy::~LineProxy() {
  context_.stop();
  thread_.join();
}

std::string LineProxy::url() const {
  return "nats://127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port());
}

void LineProxy::Accept() {
  acceptor_.async_accept([this](error_code failed, tcp::socket client) {
    // A socket that is dropped is closed.
    if (!failed && state_ != State::kIsCut) {
      const auto connection = std::make_shared<Connection>(*this, std::move(client));
      connections_.insert(connection);
      connection->Start();
    }
    Accept();
  });
}

void LineProxy::Become(State state, milliseconds delay) {
  const auto done = std::make_shared<std::promise<void>>();  // the one who fulfils it may let go of it last
  const auto is_done = done->get_future();
  boost::asio::post(context_, [this, done, state, delay] {
    state_ = state;
    delay_ = delay;
    if (state == State::kIsCut)
      for (const auto& connection : std::set(connections_)) connection->End();
    done->set_value();
  });
  is_done.wait();
}

void LineProxy::Cut() {
  Become(State::kIsCut, milliseconds(0));
}

void LineProxy::Hold() {
  Become(State::kIsHeld, milliseconds(0));
}

void LineProxy::SlowDown(milliseconds delay) {
  Become(State::kCarries, delay);
}

void LineProxy::Mend() {
  Become(State::kCarries, milliseconds(0));
}

}  // namespace test
