#include "probe/server/http/http_requests.h"

#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

#include "probe/host/log.h"

namespace probe {

HttpRequests::HttpRequests(boost::asio::io_context& loop, HttpService service)
    : loop_(loop), service_(std::move(service)), workers_(service_.workers) {}

HttpRequests::~HttpRequests() {
  workers_.stop();
  workers_.join();
}

Access HttpRequests::LookUp(const std::string& path) const {
  return service_.look_up ? service_.look_up(path) : Access::kNotFound;
}

std::optional<std::string> HttpRequests::TopicsAt(const std::string& path, const std::string& holder) const {
  if (service_.topics_at) return service_.topics_at(path, holder);
  return path == "/" ? std::optional<std::string>("") : std::nullopt;
}

bool HttpRequests::Begin(HttpRequest request, Answered answered) {
  if (unanswered_ >= service_.workers + kMaxWaiting) return false;
  ++unanswered_;
  boost::asio::post(workers_, [this, request = std::move(request), answered = std::move(answered)] {
    boost::asio::post(loop_, [this, answered, answer = Answer(request)]() mutable {
      --unanswered_;
      answered(std::move(answer));
    });
  });
  return true;
}

HttpAnswer HttpRequests::Answer(const HttpRequest& request) const try {
  const log::RequestScope scope;
  HttpAnswer answer = service_.answer(request);
  Compress(request, answer);
  return answer;
} catch (const std::exception& failure) {
  log::Error("[WebServer] a request could not be answered: %s", failure.what());
  return ErrorAnswer(500, "internal_error", "The probe could not answer; its log says why.");
}

}  // namespace probe
