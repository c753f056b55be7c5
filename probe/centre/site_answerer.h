#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/centre/site_text.h"
#include "probe/centre/sites.h"
#include "probe/centre/stream_connection.h"
#include "probe/server/http/http_message.h"
#include "probe/uplink/site_answers.h"

namespace probe::centre {

/// Questions to sites since the start.
struct QuestionCounts {
  std::uint64_t answered = 0;
  std::uint64_t unanswered = 0;  ///< The site was silent for too long.
  std::uint64_t refused = 0;     ///< Not asked: there was no connection, too many waited, or it was silent just before.
  std::size_t waiting = 0;       ///< At present.
};

/// Answers for sites: from their newest texts where these suffice, else by asking the site itself.
///
/// Threads: any, several at once. What it refers to must outlive it.
class SiteAnswerer {
 public:
  /// Gives the connection over which sites are asked; null: there is none.
  using Connections = std::function<std::shared_ptr<StreamConnection>()>;

  /// How long a site may take. A report of many days may take a second or two, on a slow machine behind a slow line.
  static constexpr std::chrono::milliseconds kPatience{8000};

  /// Questions at a time, to one site and to all together: more of them have no answer, so that sites that hang hold up
  /// nobody who asks for what the centre knows. A browser asks six things at once.
  static constexpr std::size_t kMaxQuestions = 8;
  static constexpr std::size_t kMaxQuestionsToAll = 24;

  SiteAnswerer(const Sites& sites, Connections connections, std::chrono::milliseconds patience = kPatience)
      : sites_(sites), connections_(std::move(connections)), patience_(patience) {}

  /// What the HTTP interface of a site answers; `request` has a path below /api/v1/ there.
  ///
  /// A site that does not answer has error 503 "site_away".
  HttpAnswer Http(const std::string& site, const HttpRequest& request) const;

  /// The newest message of a topic for a filter, a JSON text, under whatever SIDs; empty: there is none.
  std::string Message(const std::string& site, const std::string& topic, const std::string& filter) const;

  QuestionCounts counts() const VEXORA_EXCLUDES(lock_);

 private:
  std::shared_ptr<const HttpAnswer> FromTexts(const std::string& site, const HttpRequest& request) const;
  std::string Status(const SiteText& text) const;
  HttpAnswer Away(const std::string& site) const;
  std::optional<uplink::SiteReply> Ask(const std::string& site, const std::string& what,
                                       const nlohmann::json& request) const;

  std::optional<uplink::SiteReply> Refuse() const VEXORA_EXCLUDES(lock_);
  bool BeginAsking(const std::string& site) const VEXORA_EXCLUDES(lock_);
  void EndAsking(const std::string& site, bool has_answered) const VEXORA_EXCLUDES(lock_);

  struct Asked {
    std::size_t questions = 0;                                          // that have no answer yet
    std::optional<std::chrono::steady_clock::time_point> silent_until;  // not to be asked before
  };

  const Sites& sites_;
  const Connections connections_;
  const std::chrono::milliseconds patience_;
  mutable utilities::lock::Mutex lock_;                                  // leaf lock
  mutable std::map<std::string, Asked> asked_ VEXORA_GUARDED_BY(lock_);  // by site
  mutable std::size_t questions_ VEXORA_GUARDED_BY(lock_) = 0;           // to all
  mutable QuestionCounts counts_ VEXORA_GUARDED_BY(lock_);               // but for those that wait
};

/// The standard filter of a topic whose message goes up with each pass, a JSON text; empty: it has none.
std::string FilterOfText(const std::string& topic);

/// Whether a filter, a JSON text, is that one: the newest text of a site then holds its message.
bool IsFilterOfText(const std::string& topic, const std::string& filter);

/// A message under other SIDs; one that names none is as it was.
std::string WithSids(const std::string& message, const std::vector<std::string>& sids);

}  // namespace probe::centre
