#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>

namespace probe {

/// A deadline on the event loop. Threads: the event loop's only.
class Timer {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Timer(const boost::asio::io_context::executor_type& executor) : timer_(executor) {}

  /// Has `on_due` called once, in place of an earlier one.
  void StartAt(Clock::time_point due, std::function<void()> on_due) {
    ++started_;
    timer_.expires_at(due);
    // One that was due when it was stopped may still be called, and must not be taken for the next one.
    timer_.async_wait([this, number = started_, on_due = std::move(on_due)](boost::system::error_code error) {
      if (!error && number == started_) on_due();
    });
  }
  void Start(Clock::duration delay, std::function<void()> on_due) { StartAt(Clock::now() + delay, std::move(on_due)); }
  void Stop() {
    ++started_;
    timer_.cancel();
  }

 private:
  boost::asio::basic_waitable_timer<Clock, boost::asio::wait_traits<Clock>, boost::asio::io_context::executor_type>
      timer_;
  unsigned long long started_ = 0;
};

}  // namespace probe
