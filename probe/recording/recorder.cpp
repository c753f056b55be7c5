#include "probe/recording/recorder.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#include "probe/clock/clock.h"
#include "probe/host/log.h"
#include "probe/recording/timezone_name.h"

using utilities::lock::lock_guard;

namespace probe::recording {
namespace {

std::string NameOf(ConnectionId connection) {
  return "client " + std::to_string(static_cast<std::uintptr_t>(connection));
}

}  // namespace

Recorder::Recorder(RecordingSettings settings, DeviceCentre& centre, SubscriptionService& service)
    : centre_(centre),
      service_(service),
      settings_(std::move(settings)),
      timezone_(LocalTimezoneName()),
      file_(settings_.path, settings_.may_overwrite),
      writer_(file_.stream(), settings_.is_anonymised ? &anonymiser_ : nullptr) {
  writer_.Header(InstalledClock().Now().tv_sec, timezone_);
  writer_.Flush();
  if (!file_.stream()) throw std::runtime_error(settings_.path + " cannot be written: it takes nothing");
  service_.SetObserver(this);
}

Recorder::~Recorder() {
  service_.SetObserver(nullptr);
}

void Recorder::OnPassBegins(time_t at) {
  // Without lock_: holding the subscriptions calls OnHeld, which takes it.
  service_.Hold();
  const lock_guard held(lock_);
  if (is_over_) return;
  WriteDevices();
  writer_.Pass(at);
  Flush();
}

void Recorder::OnPassEnds() {
  // Without lock_: releasing the subscriptions calls OnReleased, which takes it.
  service_.Release();
}

void Recorder::OnCleanUp(const std::string& mac) {
  WriteInTurn([mac](RecordingWriter& writer) { writer.CleanUp(mac); });
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
  if (is_over_) return;
  if (is_held_) {
    waiting_.push_back(std::move(write));
    return;
  }
  write(writer_);
  Flush();
}

void Recorder::Flush() {
  writer_.Flush();
  if (is_over_) return;
  const char* path = settings_.path.c_str();
  std::ostream& file = file_.stream();
  if (file && static_cast<std::uint64_t>(file.tellp()) >= settings_.max_bytes) {
    is_over_ = true;
    log::Info("[Recorder] the recording %s has %llu octets, as many as it may have: it ends here", path,
              static_cast<unsigned long long>(file.tellp()));
  }
  if (file) return;
  is_over_ = true;
  log::Error("[Recorder] the recording %s cannot be written any more: it is cut short", path);
}

void Recorder::OnHeld() {
  const lock_guard held(lock_);
  is_held_ = true;
}

void Recorder::OnReleased() {
  const lock_guard held(lock_);
  is_held_ = false;
  for (const auto& write : std::exchange(waiting_, {})) {
    if (!is_over_) write(writer_);
  }
  Flush();
}

}  // namespace probe::recording
