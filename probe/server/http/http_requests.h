#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "probe/server/http/http_message.h"

namespace probe {

/// Has plain HTTP requests answered by threads of their own, so that a report which waits for a pass holds up no
/// socket.
///
/// Threads: the event loop's only; see `HttpService` for what the workers call.
class HttpRequests {
 public:
  /// Requests that may wait for a worker.
  static constexpr std::size_t kMaxWaiting = 64;

  using Answered = std::function<void(HttpAnswer answer)>;

  HttpRequests(boost::asio::io_context& loop, HttpService service);

  /// Waits for the requests that are being answered; those that wait are dropped.
  ~HttpRequests();
  HttpRequests(const HttpRequests&) = delete;
  HttpRequests& operator=(const HttpRequests&) = delete;

  /// Who may ask for a path. Without a service there is nothing at any path.
  Access LookUp(const std::string& path) const;

  /// As `HttpService::topics_at`.
  std::optional<std::string> TopicsAt(const std::string& path, const std::string& holder) const;
  bool are_websockets_by_holder() const { return service_.topics_at != nullptr; }

  /// Has a request answered that the access rules let pass; `answered` gets the answer, on the event loop.
  ///
  /// Fails: false when too many requests wait; nothing is begun then.
  bool Begin(HttpRequest request, Answered answered);

 private:
  HttpAnswer Answer(const HttpRequest& request) const;  // on a worker

  boost::asio::io_context& loop_;
  const HttpService service_;
  std::size_t unanswered_ = 0;
  boost::asio::thread_pool workers_;
};

}  // namespace probe
