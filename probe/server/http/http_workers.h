#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "probe/server/http/http_message.h"

namespace probe {

/// Answers requests on threads of their own, so that a report which waits for a pass holds up no socket.
///
/// Both its queues are bounded: it takes no more requests than `kMostWaiting`, and has an answer for each at most.
/// Threads: the server thread makes it, submits and takes; see `HttpService` for the rest.
class HttpWorkers {
 public:
  /// Two, so that one report that waits does not hold up the page.
  static constexpr std::size_t kWorkers = 2;

  /// Requests that may wait for a worker.
  static constexpr std::size_t kMostWaiting = 64;

  using Ticket = std::uint64_t;
  using Done = std::vector<std::pair<Ticket, HttpAnswer>>;

  /// `wake`: tells the server thread to call `TakeDone`. Called on a worker.
  HttpWorkers(HttpService service, std::function<void()> wake);

  /// Waits for the requests that are being answered; those that wait are dropped.
  ~HttpWorkers();
  HttpWorkers(const HttpWorkers&) = delete;
  HttpWorkers& operator=(const HttpWorkers&) = delete;

  const HttpService& service() const { return service_; }

  /// Has a request answered. False when too many wait already.
  bool Submit(Ticket ticket, HttpRequest request);

  /// The answers since the last call.
  Done TakeDone();

 private:
  void Work();
  HttpAnswer Answer(const HttpRequest& request) const;

  const HttpService service_;
  const std::function<void()> wake_;
  std::mutex lock_;  // guards the members below
  std::condition_variable changed_;
  std::deque<std::pair<Ticket, HttpRequest>> waiting_;
  Done done_;
  bool must_stop_ = false;
  std::vector<std::thread> workers_;
};

}  // namespace probe
