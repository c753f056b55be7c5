#include "probe/recording/recorder.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace probe {
namespace {

/// The name of the process's time zone in the tz database.
std::string TimezoneName() {
  const std::string zones = "/usr/share/zoneinfo/";
  const char* set = std::getenv("TZ");  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
  if (set != nullptr && *set != '\0') return *set == ':' ? set + 1 : set;
  std::error_code error;
  const std::string target = std::filesystem::canonical("/etc/localtime", error);
  return !error && target.starts_with(zones) ? target.substr(zones.size()) : "UTC";
}

/// A handle is an opaque number: what counts is that each connection has its own.
std::string NameOf(lws* connection) {
  return "client " + std::to_string(reinterpret_cast<std::uintptr_t>(connection));
}

}  // namespace

Recorder::Recorder(const std::string& path, DeviceCentre& centre, SubscriptionService& service)
    : centre_(centre), service_(service), clock_(InstalledClock()), file_(path), writer_(file_) {
  if (!file_) throw std::runtime_error("the recording " + path + " cannot be written");
  writer_.Header(clock_.Now().tv_sec, TimezoneName());
  writer_.Flush();
  service_.SetObserver(this);
}

Recorder::~Recorder() {
  if (is_in_pass_) EndPass();
  service_.SetObserver(nullptr);
}

timeval Recorder::Now() {
  {
    const std::lock_guard held(lock_);
    if (is_in_pass_ && pthread_equal(engine_, pthread_self()) != 0) return pass_time_;
  }
  return clock_.Now();
}

unsigned Recorder::Sleep(unsigned seconds) {
  if (is_in_pass_) EndPass();
  const unsigned left = clock_.Sleep(seconds);
  BeginPass();
  return left;
}

void Recorder::BeginPass() {
  centre_.Hold();
  service_.Hold();
  const std::lock_guard held(lock_);
  engine_ = pthread_self();
  pass_time_ = clock_.Now();
  is_in_pass_ = true;
  WriteDevices();
  writer_.Pass(pass_time_.tv_sec);
  writer_.Flush();
}

void Recorder::EndPass() {
  {
    const std::lock_guard held(lock_);
    is_in_pass_ = false;
  }
  service_.Release();
  centre_.Release();
}

void Recorder::WriteDevices() {
  const auto macs = centre_.GetOnlineManagedDevices(false);
  for (auto known = written_.begin(); known != written_.end();) {
    if (centre_.Snapshot(known->first) != nullptr) {
      ++known;
      continue;
    }
    writer_.Forget(known->first);
    known = written_.erase(known);
  }
  for (const std::string& mac : macs) {
    auto snapshot = centre_.Snapshot(mac);
    auto& written = written_[mac];
    if (snapshot == written) continue;
    writer_.Device(mac, *snapshot);
    written = std::move(snapshot);
  }
}

void Recorder::OnFiled(const std::string& topic, lws* connection, const std::string& request) {
  if (request.empty()) return;  // the host's own: what it keeps for the HTTP interface is no client's doing
  clients_.insert(connection);
  WriteInTurn([this, topic, name = NameOf(connection), request] { writer_.Subscribe(topic, name, request); });
}

void Recorder::OnRemoved(const std::string& topic, lws* connection, const std::string& sid) {
  if (!clients_.contains(connection)) return;
  WriteInTurn([this, topic, name = NameOf(connection), sid] { writer_.Unsubscribe(topic, name, sid); });
}

void Recorder::OnDisconnected(lws* connection) {
  if (clients_.erase(connection) == 0) return;
  WriteInTurn([this, name = NameOf(connection)] { writer_.Disconnect(name); });
}

void Recorder::WriteInTurn(std::function<void()> write) {
  const std::lock_guard held(lock_);
  if (is_held_) {
    waiting_.push_back(std::move(write));
    return;
  }
  write();
  writer_.Flush();
}

void Recorder::OnHeld() {
  const std::lock_guard held(lock_);
  is_held_ = true;
}

void Recorder::OnReleased() {
  const std::lock_guard held(lock_);
  is_held_ = false;
  for (const auto& write : std::exchange(waiting_, {})) write();
  writer_.Flush();
}

}  // namespace probe
