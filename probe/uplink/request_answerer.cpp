#include "probe/uplink/request_answerer.h"

#include <chrono>
#include <exception>
#include <utility>

#include "probe/host/log.h"

using utilities::lock::lock_guard;

namespace probe::uplink {
namespace {

constexpr std::chrono::milliseconds kNoticeLink{200};  // how late a new link may be noticed

}  // namespace

RequestAnswerer::RequestAnswerer(const SiteAnswers& answers, Links links)
    : answers_(answers), links_(std::move(links)), thread_([this] { Run(); }) {}

RequestAnswerer::~RequestAnswerer() {
  stop_.Set();
  thread_.join();
}

void RequestAnswerer::NoteNewest(std::vector<SpooledMessage> messages) {
  const lock_guard held(lock_);
  for (SpooledMessage& message : messages) {
    if (answers_.IsReport(message.topic)) continue;
    const std::string topic = message.topic;
    newest_[topic] = std::make_shared<const SpooledMessage>(std::move(message));
  }
}

SiteAnswers::NewestTexts RequestAnswerer::newest() const {
  const lock_guard held(lock_);
  return newest_;
}

void RequestAnswerer::Run() {
  while (!stop_.IsSetBefore({})) {
    try {
      Step();
    } catch (const std::exception& error) {
      log::Error("[Uplink] a request could not be answered: %s", error.what());
    }
  }
}

void RequestAnswerer::Step() {
  const auto link = links_();
  const auto end = std::chrono::steady_clock::now() + kNoticeLink;
  const auto request = link == nullptr ? std::nullopt : link->NextRequest(kNoticeLink);
  if (!request) {
    stop_.IsSetBefore(end);  // a connection that is over does not wait
    return;
  }
  for (const SiteReply& reply : answers_.To(*request, newest())) {
    if (!link->Reply(request->reply, reply)) link->Reply(request->reply, {{{kStatusHeader, "413"}}, ""});
  }
}

}  // namespace probe::uplink
