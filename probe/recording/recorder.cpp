#include "probe/recording/recorder.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#include "probe/host/log.h"
#include "probe/recording/timezone_name.h"

using utilities::lock::lock_guard;

namespace probe::recording {
namespace {

std::string NameOf(ConnectionId connection) {
  return "client " + std::to_string(static_cast<std::uintptr_t>(connection));
}

}  // namespace

Recorder::Recorder(const std::string& path, DeviceCentre& centre, SubscriptionService& service)
    : centre_(centre), service_(service), clock_(InstalledClock()), path_(path), writer_(file_) {
  // Before the file is opened: when there is no name, no empty recording is left behind.
  const std::string timezone = LocalTimezoneName();
  file_.open(path);
  writer_.Header(clock_.Now().tv_sec, timezone);
  writer_.Flush();
  if (!file_) throw std::runtime_error("the recording " + path + " cannot be written");
  service_.SetObserver(this);
}

Recorder::~Recorder() {
  // The pass that runs while the engine is stopped is not ended by a sleep.
  EndPass();
  service_.SetObserver(nullptr);
}

timeval Recorder::Now() {
  {
    const lock_guard held(lock_);
    // Time stands still for the engine only: sources and clients need theirs to go on.
    if (is_in_pass_ && pthread_equal(engine_, pthread_self()) != 0) return pass_time_;
  }
  return clock_.Now();
}

unsigned Recorder::Sleep(unsigned seconds) {
  EndPass();
  const unsigned left = clock_.Sleep(seconds);
  BeginPass();
  return left;
}

void Recorder::BeginPass() {
  // Without lock_: holding the subscriptions calls OnHeld, which takes it.
  centre_.Hold();
  service_.Hold();
  const lock_guard held(lock_);
  engine_ = pthread_self();
  pass_time_ = clock_.Now();
  is_in_pass_ = true;
  WriteDevices();
  writer_.Pass(pass_time_.tv_sec);
  Flush();
}

void Recorder::EndPass() {
  {
    const lock_guard held(lock_);
    if (!std::exchange(is_in_pass_, false)) return;
  }
  // Without lock_: releasing the subscriptions calls OnReleased, which takes it.
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
    // Compared as pointers: a snapshot never changes, and each reading makes a new one.
    if (snapshot == written) continue;
    // Not null: the device centre stands still since it gave the list.
    writer_.Device(mac, *snapshot);
    written = std::move(snapshot);
  }
}

void Recorder::OnFiled(const std::string& topic, ConnectionId connection, const std::string& request) {
  if (request.empty()) return;  // the host's own subscription, which no client asked for
  clients_.insert(connection);
  WriteInTurn(
      [topic, name = NameOf(connection), request](RecordingWriter& writer) { writer.Subscribe(topic, name, request); });
}

void Recorder::OnRemoved(const std::string& topic, ConnectionId connection, const std::string& sid) {
  if (!clients_.contains(connection)) return;
  WriteInTurn(
      [topic, name = NameOf(connection), sid](RecordingWriter& writer) { writer.Unsubscribe(topic, name, sid); });
}

void Recorder::OnDisconnected(ConnectionId connection) {
  if (clients_.erase(connection) == 0) return;
  WriteInTurn([name = NameOf(connection)](RecordingWriter& writer) { writer.Disconnect(name); });
}

void Recorder::WriteInTurn(WriteLine write) {
  const lock_guard held(lock_);
  if (is_held_) {
    waiting_.push_back(std::move(write));
    return;
  }
  write(writer_);
  Flush();
}

void Recorder::Flush() {
  writer_.Flush();
  if (file_ || std::exchange(is_broken_, true)) return;
  log::Error("[Recorder] the recording %s cannot be written any more: it is cut short", path_.c_str());
}

void Recorder::OnHeld() {
  const lock_guard held(lock_);
  is_held_ = true;
}

void Recorder::OnReleased() {
  const lock_guard held(lock_);
  is_held_ = false;
  for (const auto& write : std::exchange(waiting_, {})) write(writer_);
  Flush();
}

}  // namespace probe::recording
