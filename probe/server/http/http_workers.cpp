#include "probe/server/http/http_workers.h"

#include <exception>

#include "probe/host/log.h"

namespace probe {

HttpWorkers::HttpWorkers(HttpService service, std::function<void()> wake)
    : service_(std::move(service)), wake_(std::move(wake)) {
  for (std::size_t i = 0; i < kWorkers; ++i) workers_.emplace_back([this] { Work(); });
}

HttpWorkers::~HttpWorkers() {
  {
    const std::lock_guard held(lock_);
    must_stop_ = true;
  }
  changed_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

bool HttpWorkers::Submit(Ticket ticket, HttpRequest request) {
  {
    const std::lock_guard held(lock_);
    if (waiting_.size() >= kMostWaiting) return false;
    waiting_.emplace_back(ticket, std::move(request));
  }
  changed_.notify_one();
  return true;
}

HttpWorkers::Done HttpWorkers::TakeDone() {
  const std::lock_guard held(lock_);
  return std::exchange(done_, {});
}

HttpAnswer HttpWorkers::Answer(const HttpRequest& request) const try {
  return service_.answer(request);
} catch (const std::exception& failure) {
  log::Error("[WebServer] a request could not be answered: %s", failure.what());
  return ErrorAnswer(500, "internal_error", "The probe could not answer; its log says why.");
}

void HttpWorkers::Work() {
  std::unique_lock held(lock_);
  for (;;) {
    changed_.wait(held, [this] { return must_stop_ || !waiting_.empty(); });
    if (must_stop_) return;
    const auto [ticket, request] = std::move(waiting_.front());
    waiting_.pop_front();
    held.unlock();
    HttpAnswer answer = Answer(request);
    held.lock();
    done_.emplace_back(ticket, std::move(answer));
    held.unlock();
    wake_();
    held.lock();
  }
}

}  // namespace probe
