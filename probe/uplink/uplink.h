#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/stop_flag.h"
#include "probe/host/subscription_service.h"
#include "probe/recording/pass_clock.h"
#include "probe/server/web_server.h"
#include "probe/uplink/inbox.h"
#include "probe/uplink/pass_collector.h"
#include "probe/uplink/request_answerer.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/site_interface.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/stream_link.h"
#include "probe/uplink/uplink_counts.h"
#include "probe/uplink/uplink_settings.h"

namespace probe::uplink {

/// Sends what each pass tells, and at midnight the reports of the day, to a stream of NATS servers, from a thread of
/// its own. What no server has acknowledged waits in a file, in order. Requests that come from there it answers as
/// `SiteAnswers` has it, however much waits.
///
/// Owner: the application. Threads: one starts and stops it; `counts` by any.
class Uplink {
 public:
  /// Above this, what waits for the disk is cut, oldest pass first.
  static constexpr std::size_t kMaxInboxBytes = std::size_t{64} * 1024 * 1024;

  /// `spool_file` is opened when the thread runs, and again and again while that fails.
  ///
  /// Fails: throws `std::runtime_error` for settings that cannot be used.
  Uplink(const UplinkSettings& settings, std::string spool_file);
  ~Uplink();
  Uplink(const Uplink&) = delete;
  Uplink& operator=(const Uplink&) = delete;

  /// Who is to be told of passes.
  recording::PassObserver& observer() { return collector_; }

  /// Subscribes, and begins to send. After the plug-in's start, on a server that runs.
  ///
  /// `site` is called by the uplink's two threads, until `Stop`.
  void Start(WebServer& server, SubscriptionService& service, SiteInterface site);

  /// Ends the thread, which first puts into the spool what the passes have told.
  void Stop();

  UplinkCounts counts() const;

 private:
  std::shared_ptr<StreamLink> Link() const;
  void Run();
  void TryStep(const std::function<void()>& step) noexcept;
  void Talk();

  /// The link; a new one, some seconds later, in place of one that is over. Null when it is to stop.
  std::shared_ptr<StreamLink> OpenedLink();

  void OpenSpool();
  void FillSpool();

  /// Adds the daily reports of days that ended between two of the texts, or before the first, and those of the pages at
  /// the end.
  void AddReportsAndPages(std::vector<SpooledMessage>& messages);

  void NoteCut(const std::map<std::string, CutMessages>& cut);
  bool SendSome(StreamLink& link);
  void NoteConnection(const StreamLink& link);
  void NoteTrouble(const std::string& trouble);
  void UpdateCounts();

  const UplinkSettings settings_;
  const std::string spool_file_;
  std::unique_ptr<SiteAnswers> answers_;  // made before the thread starts, as the next
  std::unique_ptr<RequestAnswerer> answerer_;
  Inbox inbox_{kMaxInboxBytes};
  PassCollector collector_;

  // Of the thread.
  std::unique_ptr<Spool> spool_;  // null while it cannot be opened
  std::string last_day_;          // of the pass before, local; empty: there was none
  bool is_spool_broken_ = false;
  std::optional<bool> is_connected_;    // that the log knows of; nothing: of neither
  std::set<std::string> reasons_told_;  // why it is not connected
  std::string trouble_;                 // that the log knows of
  std::uint64_t stored_ = 0;
  std::uint64_t cut_ = 0;  // but for the inbox's

  mutable utilities::lock::Mutex lock_;  // leaf lock
  UplinkCounts counts_ VEXORA_GUARDED_BY(lock_);
  std::shared_ptr<StreamLink> link_ VEXORA_GUARDED_BY(lock_);  // null before the first
  StopFlag stop_;
  std::thread thread_;
};

}  // namespace probe::uplink
