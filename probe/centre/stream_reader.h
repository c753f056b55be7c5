#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/utilities/locks.h"
#include "probe/centre/centre_settings.h"
#include "probe/centre/site_text.h"
#include "probe/centre/stream_connection.h"
#include "probe/host/stop_flag.h"

namespace probe::centre {

/// Reads the stream from a thread of its own, for as long as it runs: over connections that break, servers that come
/// and go, and a stream that is not there yet.
///
/// Threads: one starts and stops it; the rest by any.
class StreamReader {
 public:
  using Taker = std::function<void(SiteText text)>;

  /// `take` is given each text on the reader's thread; after a connection broke the last of each site and topic again.
  ///
  /// Fails: throws `std::runtime_error` for settings that cannot be used.
  StreamReader(const StreamSettings& settings, Taker take);
  ~StreamReader();
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  void Start();
  void Stop();

  /// The connection; null: there is none.
  std::shared_ptr<StreamConnection> connection() const VEXORA_EXCLUDES(lock_);

  /// Whether texts come in as they are stored.
  bool is_reading() const VEXORA_EXCLUDES(lock_);

 private:
  void Run();
  void TryStep() noexcept;
  void Step();
  std::shared_ptr<StreamConnection> OpenedConnection();
  void NoteReading(bool is_reading, const std::string& why);

  const StreamSettings settings_;
  const Taker take_;
  std::optional<std::string> told_;  // why it does not read, as the log knows; empty: it reads; nothing: neither

  mutable utilities::lock::Mutex lock_;  // leaf lock
  std::shared_ptr<StreamConnection> connection_ VEXORA_GUARDED_BY(lock_);
  bool is_reading_ VEXORA_GUARDED_BY(lock_) = false;
  StopFlag stop_;
  std::thread thread_;
};

}  // namespace probe::centre
