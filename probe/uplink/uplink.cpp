#include "probe/uplink/uplink.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "probe/host/log.h"

using utilities::lock::lock_guard;

namespace probe::uplink {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWait{200};  // how late a pass may be noticed
constexpr std::chrono::seconds kBetweenLinks{5};
constexpr std::size_t kBatch = 16;
constexpr std::size_t kBatchBytes = std::size_t{16} * 1024 * 1024;

std::string LocalDay(time_t at) {
  tm local{};
  localtime_r(&at, &local);
  std::array<char, 16> text{};
  return {text.data(), strftime(text.data(), text.size(), "%Y-%m-%d", &local)};
}

std::string LocalDayBefore(time_t at) {
  tm local{};
  localtime_r(&at, &local);
  --local.tm_mday;
  local.tm_hour = 12;  // there is one on each day, whatever the clocks do
  local.tm_isdst = -1;
  return LocalDay(mktime(&local));
}

/// The first of these texts, no two of them of one topic.
std::vector<SpooledMessage> OneOfEachTopic(std::vector<SpooledMessage> messages) {
  std::set<std::string> topics;
  const auto second = std::find_if(messages.begin(), messages.end(),
                                   [&](const SpooledMessage& message) { return !topics.insert(message.topic).second; });
  messages.erase(second, messages.end());
  return messages;
}

}  // namespace

Uplink::Uplink(const UplinkSettings& settings, std::string spool_file)
    : settings_(settings),
      spool_file_(std::move(spool_file)),
      collector_([this](std::vector<SpooledMessage> messages) { inbox_.Put(std::move(messages)); }) {
  StreamLink::RequireUsable(settings);
}

Uplink::~Uplink() {
  Stop();
}

void Uplink::Start(WebServer& server, SubscriptionService& service, SiteInterface site) {
  answers_ = std::make_unique<SiteAnswers>(std::move(site));
  collector_.Subscribe(server, service);
  log::Info("[Uplink] site %s sends to %zu servers", settings_.site.c_str(), settings_.servers.size());
  answerer_ = std::make_unique<RequestAnswerer>(*answers_, [this] { return Link(); });
  thread_ = std::thread([this] { Run(); });
}

void Uplink::Stop() {
  if (!thread_.joinable()) return;
  stop_.Set();
  if (const auto link = Link()) link->Close();
  thread_.join();
  answerer_.reset();
}

UplinkCounts Uplink::counts() const {
  const lock_guard held(lock_);
  return counts_;
}

std::shared_ptr<StreamLink> Uplink::Link() const {
  const lock_guard held(lock_);
  return link_;
}

void Uplink::Run() {
  while (!stop_.IsSetBefore({})) {
    TryStep([this] { FillSpool(); });
    TryStep([this] { Talk(); });
  }
  TryStep([this] { FillSpool(); });
}

void Uplink::TryStep(const std::function<void()>& step) noexcept {
  // What a thread throws ends the process: a step is left out, and the next one begins anew.
  try {
    try {
      step();
      return;
    } catch (const BrokenSpool& error) {
      spool_.reset();
      is_spool_broken_ = true;
      NoteTrouble(error.what());
    } catch (const std::exception& error) {
      NoteTrouble(error.what());
    }
  } catch (const std::exception& error) {
    log::Error("[Uplink] %s", error.what());
  }
  stop_.IsSetBefore(std::chrono::steady_clock::now() + kWait);
}

void Uplink::Talk() {
  const auto link = OpenedLink();
  if (link == nullptr) return;
  NoteConnection(*link);
  UpdateCounts();
  const bool has_more = spool_ != nullptr && SendSome(*link);
  if (!has_more) stop_.IsSetBefore(std::chrono::steady_clock::now() + kWait);
}

std::shared_ptr<StreamLink> Uplink::OpenedLink() {
  auto link = Link();
  if (link != nullptr && !link->IsOver()) return link;
  if (link != nullptr) {
    NoteConnection(*link);
    if (stop_.IsSetBefore(std::chrono::steady_clock::now() + kBetweenLinks)) return nullptr;
  }
  link = std::make_shared<StreamLink>(settings_);
  const lock_guard held(lock_);
  link_ = link;
  return link;
}

void Uplink::OpenSpool() {
  const SpoolBounds bounds{settings_.spool_bytes, settings_.spool_age};
  try {
    if (!is_spool_broken_) {
      spool_ = std::make_unique<Spool>(spool_file_, bounds);
      return;
    }
  } catch (const BrokenSpool&) {  // NOLINT(bugprone-empty-catch): it goes aside, too
  }
  const std::string aside = spool_file_ + ".broken";
  std::filesystem::rename(spool_file_, aside);
  is_spool_broken_ = false;
  log::Error("[Uplink] the spool is broken; it is put aside as %s, and what waited in it is lost", aside.c_str());
  spool_ = std::make_unique<Spool>(spool_file_, bounds);
}

void Uplink::FillSpool() {
  if (spool_ == nullptr) OpenSpool();
  std::vector<SpooledMessage> messages = inbox_.TakeAll();
  if (messages.empty()) return;
  const time_t now = messages.back().at;
  try {
    AddReportsAndPages(messages);
    NoteCut(spool_->Append(messages, now));
  } catch (...) {
    inbox_.PutBack(std::move(messages));
    throw;
  }
  answerer_->NoteNewest(std::move(messages));
}

void Uplink::AddReportsAndPages(std::vector<SpooledMessage>& messages) {
  // What a disk did not take comes again, with what was added then.
  if (PageTexts().contains(messages.back().topic)) return;
  std::vector<SpooledMessage> all;
  std::string day = last_day_;
  for (const SpooledMessage& message : messages) {
    const std::string today = LocalDay(message.at);
    // The first pass after the start, too: the probe may have been away at midnight.
    if (today > day) {
      auto reports = answers_->ReportsOf(day.empty() ? LocalDayBefore(message.at) : day, message.at);
      std::move(reports.begin(), reports.end(), std::back_inserter(all));
    }
    day = std::max(day, today);  // the clock may have been set back over midnight
    all.push_back(message);
  }
  // They tell of now, which is the last pass.
  auto pages = answers_->PagesOf(messages.back().at);
  std::move(pages.begin(), pages.end(), std::back_inserter(all));
  messages = std::move(all);
  last_day_ = std::move(day);
}

void Uplink::NoteCut(const std::map<std::string, CutMessages>& cut) {
  for (const auto& [topic, messages] : cut) {
    cut_ += messages.count;
    log::Warning(
        "[Uplink] %llu texts of %s from %s to %s are lost: more than uplink.spool_bytes or "
        "uplink.spool_hours allows is waiting",
        static_cast<unsigned long long>(messages.count), topic.c_str(), IdOfTime(messages.first).c_str(),
        IdOfTime(messages.last).c_str());
  }
}

bool Uplink::SendSome(StreamLink& link) {
  if (!link.IsConnected()) return false;
  const auto batch = OneOfEachTopic(spool_->After(0, kBatch, kBatchBytes));
  if (batch.empty()) return false;
  const std::vector<Delivery> deliveries = link.Publish(batch);
  std::vector<std::int64_t> done;
  for (std::size_t at = 0; at < batch.size(); ++at) {
    if (deliveries[at] == Delivery::kNotNow) continue;
    done.push_back(batch[at].number);
    if (deliveries[at] == Delivery::kStored) {
      ++stored_;
    } else {
      ++cut_;
      log::Error(
          "[Uplink] a text of %s is lost: it has %zu octets, more than max_payload of the servers or max_msg_size of "
          "the stream",
          batch[at].topic.c_str(), batch[at].text.size());
    }
  }
  spool_->Remove(done);
  NoteTrouble(link.trouble().empty() ? "" : "texts wait in " + spool_file_ + ": " + link.trouble());
  return !done.empty() && link.trouble().empty();
}

void Uplink::NoteConnection(const StreamLink& link) {
  const bool is_connected = link.IsConnected();
  const std::string why = is_connected ? "" : link.WhyNotConnected();
  // Several servers may give several reasons in turn: each is told once until there is a connection.
  const bool is_told = is_connected ? is_connected_ == true : !reasons_told_.insert(why).second;
  is_connected_ = is_connected;
  if (is_told) return;
  if (is_connected) {
    reasons_told_.clear();
    log::Info("[Uplink] connected; %llu texts wait",
              static_cast<unsigned long long>(spool_ == nullptr ? 0 : spool_->waiting().messages));
  } else {
    log::Warning("[Uplink] not connected, texts wait in %s: %s", spool_file_.c_str(), why.c_str());
  }
}

void Uplink::NoteTrouble(const std::string& trouble) {
  if (trouble == std::exchange(trouble_, trouble)) return;
  if (trouble.empty()) {
    log::Info("[Uplink] texts are stored again");
  } else {
    log::Error("[Uplink] %s", trouble.c_str());
  }
}

void Uplink::UpdateCounts() {
  const Spool::Waiting waiting = spool_ == nullptr ? Spool::Waiting() : spool_->waiting();
  const UplinkCounts counts{is_connected_.value_or(false), stored_, cut_ + inbox_.cut(), waiting.messages,
                            waiting.bytes};
  const lock_guard held(lock_);
  counts_ = counts;
}

}  // namespace probe::uplink
