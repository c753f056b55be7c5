#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/stop_flag.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/spool.h"
#include "probe/uplink/stream_link.h"

namespace probe::uplink {

/// Answers requests from a thread of its own: who asks waits neither for texts that no server takes nor for the disk.
///
/// Threads: one starts and stops it; `NoteNewest` by any.
class RequestAnswerer {
 public:
  /// Gives the link over which requests come; null: there is none yet.
  using Links = std::function<std::shared_ptr<StreamLink>()>;

  RequestAnswerer(const SiteAnswers& answers, Links links);

  /// Stops. A link that is closed before does not keep it waiting.
  ~RequestAnswerer();
  RequestAnswerer(const RequestAnswerer&) = delete;
  RequestAnswerer& operator=(const RequestAnswerer&) = delete;

  /// These are the newest texts of their topics.
  void NoteNewest(std::vector<SpooledMessage> messages) VEXORA_EXCLUDES(lock_);

 private:
  void Run();
  void Step();
  SiteAnswers::NewestTexts newest() const VEXORA_EXCLUDES(lock_);

  const SiteAnswers& answers_;
  const Links links_;
  mutable utilities::lock::Mutex lock_;  // leaf lock
  SiteAnswers::NewestTexts newest_ VEXORA_GUARDED_BY(lock_);
  StopFlag stop_;
  std::thread thread_;
};

}  // namespace probe::uplink
