#include "bench/fleet/site_load.h"

#include <nats/nats.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include "probe/api/latest_messages.h"
#include "probe/uplink/nats_connection.h"
#include "probe/uplink/nats_handles.h"
#include "probe/uplink/pass_collector.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/uplink_settings.h"

namespace bench {
namespace {

using probe::uplink::Delivery;
using probe::uplink::SpooledMessage;
using probe::uplink::StreamLink;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A thread waits for the servers most of the time.
constexpr std::size_t kThreads = 32;
constexpr std::chrono::seconds kPatience{60};

std::vector<std::string> TopicsOfAPass() {
  std::vector<std::string> topics;
  for (const auto& filter : probe::StandardFilters())
    if (probe::uplink::GoesUp(filter)) topics.push_back(filter.topic);
  for (const auto& [topic, path] : probe::uplink::PageTexts()) topics.push_back(topic);
  return topics;
}

double MillisecondsIn(steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

/// Some of the sites, one after the other, in a thread of its own.
class Sender {
 public:
  Sender(const LoadSettings& settings, std::vector<SpooledMessage> texts, std::size_t first)
      : settings_(settings), texts_(std::move(texts)) {
    for (std::size_t site = first; site < settings.sites; site += kThreads) {
      probe::uplink::UplinkSettings own;
      static_cast<probe::uplink::NatsLogin&>(own) = settings.login;
      own.stream = settings.stream;
      own.site = "load-" + std::to_string(site + 1);
      numbers_.push_back(site);
      links_.push_back(std::make_unique<StreamLink>(own));
    }
  }

  bool AreConnected() const {
    return std::all_of(links_.begin(), links_.end(), [](const auto& link) { return link->IsConnected(); });
  }

  void Run(steady_clock::time_point start) {
    for (std::size_t pass = 0; pass < settings_.passes; ++pass) {
      for (std::size_t at = 0; at < links_.size(); ++at) {
        const auto share = static_cast<double>(numbers_[at]) / static_cast<double>(settings_.sites);
        const auto due =
            start + settings_.pace * pass + std::chrono::duration_cast<steady_clock::duration>(settings_.pace * share);
        std::this_thread::sleep_until(due);
        SendPass(*links_[at], due);
      }
    }
  }

  const LoadResult& result() const { return result_; }

 private:
  void SendPass(StreamLink& link, steady_clock::time_point due) {
    const auto began = steady_clock::now();
    result_.late_ms.push_back(MillisecondsIn(began - due));
    const std::string id = probe::uplink::IdOfTime(time(nullptr));
    std::vector<SpooledMessage> waiting = texts_;
    for (SpooledMessage& text : waiting) text.id = id;
    while (!waiting.empty() && steady_clock::now() < due + settings_.pace) {
      const std::vector<Delivery> deliveries = link.Publish(waiting);
      std::vector<SpooledMessage> left;
      for (std::size_t at = 0; at < waiting.size(); ++at) {
        if (deliveries[at] != Delivery::kStored) {
          left.push_back(std::move(waiting[at]));
          continue;
        }
        ++result_.texts;
        result_.octets += waiting[at].text.size();
      }
      waiting = std::move(left);
    }
    result_.failed += waiting.size();
    result_.pass_ms.push_back(MillisecondsIn(steady_clock::now() - began));
  }

  const LoadSettings& settings_;
  const std::vector<SpooledMessage> texts_;
  std::vector<std::size_t> numbers_;
  std::vector<std::unique_ptr<StreamLink>> links_;
  LoadResult result_;
};

void Add(std::vector<double>& all, const std::vector<double>& more) {
  all.insert(all.end(), more.begin(), more.end());
}

}  // namespace

std::vector<SpooledMessage> NewestTexts(const LoadSettings& settings) {
  const auto connection =
      probe::uplink::Connect(probe::uplink::OptionsFor(settings.login, "fleet-load", "_INBOX_load"));
  jsCtx* made = nullptr;
  probe::uplink::CheckNats(natsConnection_JetStream(&made, connection.get(), nullptr), "stream");
  const std::unique_ptr<jsCtx, probe::uplink::ReleaseNats<&jsCtx_Destroy>> streams(made);
  std::vector<SpooledMessage> texts;
  for (const std::string& topic : TopicsOfAPass()) {
    const std::string subject = probe::uplink::kSubjects + settings.like + "." + topic;
    natsMsg* found = nullptr;
    probe::uplink::CheckNats(
        js_GetLastMsg(&found, streams.get(), settings.stream.c_str(), subject.c_str(), nullptr, nullptr), subject);
    const probe::uplink::NatsMessage message(found);
    texts.push_back({0, topic, "", 0, probe::uplink::TextOf(found)});
  }
  return texts;
}

LoadResult RunLoad(const LoadSettings& settings, const std::vector<SpooledMessage>& texts,
                   const std::function<void()>& on_start) {
  std::vector<std::unique_ptr<Sender>> senders;
  for (std::size_t first = 0; first < std::min(kThreads, settings.sites); ++first)
    senders.push_back(std::make_unique<Sender>(settings, texts, first));
  const auto deadline = steady_clock::now() + kPatience;
  while (!std::all_of(senders.begin(), senders.end(), [](const auto& sender) { return sender->AreConnected(); })) {
    if (steady_clock::now() > deadline) throw std::runtime_error("not all sites can connect");
    std::this_thread::sleep_for(milliseconds(20));
  }
  on_start();
  const auto start = steady_clock::now();
  std::vector<std::thread> threads;
  threads.reserve(senders.size());
  for (const auto& sender : senders) threads.emplace_back([&sender = *sender, start] { sender.Run(start); });
  for (std::thread& thread : threads) thread.join();
  LoadResult all;
  all.took = steady_clock::now() - start;
  for (const auto& sender : senders) {
    const LoadResult& one = sender->result();
    all.texts += one.texts;
    all.octets += one.octets;
    all.failed += one.failed;
    Add(all.pass_ms, one.pass_ms);
    Add(all.late_ms, one.late_ms);
  }
  std::sort(all.pass_ms.begin(), all.pass_ms.end());
  std::sort(all.late_ms.begin(), all.late_ms.end());
  return all;
}

double Quantile(const std::vector<double>& sorted, double part) {
  if (sorted.empty()) return 0;
  return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(part * static_cast<double>(sorted.size())))];
}

}  // namespace bench
