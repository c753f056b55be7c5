#include "probe/server/http/http_requests.h"

#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

#include "probe/host/log.h"

namespace probe {

HttpRequests::HttpRequests(boost::asio::io_context& loop, HttpService service)
    : loop_(loop), service_(std::move(service)) {}

HttpRequests::~HttpRequests() {
  workers_.stop();
  workers_.join();
}

PathInfo HttpRequests::LookUp(const std::string& path) const {
  return service_.look_up ? service_.look_up(path) : PathInfo{};
}

HttpRequests::RequestId HttpRequests::Begin(HttpRequest request, Answered answered) {
  if (unanswered_ >= kWorkers + kMaxWaiting) return 0;
  const RequestId id = ++last_id_;
  answered_.emplace(id, std::move(answered));
  ++unanswered_;
  boost::asio::post(workers_, [this, id, request = std::move(request)] {
    boost::asio::post(loop_, [this, id, answer = Answer(request)]() mutable { OnAnswer(id, std::move(answer)); });
  });
  return id;
}

HttpAnswer HttpRequests::Answer(const HttpRequest& request) const try {
  return service_.answer(request);
} catch (const std::exception& failure) {
  log::Error("[WebServer] a request could not be answered: %s", failure.what());
  return ErrorAnswer(500, "internal_error", "The probe could not answer; its log says why.");
}

void HttpRequests::OnAnswer(RequestId id, HttpAnswer answer) {
  --unanswered_;
  // It is forgotten first: what is done about it may begin the next one.
  if (const auto waiting = answered_.extract(id)) waiting.mapped()(std::move(answer));
}

}  // namespace probe
