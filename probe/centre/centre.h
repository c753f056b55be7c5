#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>

#include "probe/centre/centre_api.h"
#include "probe/centre/centre_settings.h"
#include "probe/centre/fleet_metrics.h"
#include "probe/centre/site_answerer.h"
#include "probe/centre/site_subscriptions.h"
#include "probe/centre/site_text.h"
#include "probe/centre/sites.h"
#include "probe/centre/stream_reader.h"
#include "probe/host/subscription_service.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"

namespace probe::centre {

/// A centre, put together: reads the stream of all sites and serves their pages. It keeps nothing but the newest texts,
/// which it reads anew at each start; as many of them as one likes serve the same sites.
///
/// One at a time in a process. Threads: one thread makes it, starts and stops it.
class Centre {
 public:
  /// `on_failure` is called, on any thread, when it can serve nobody any more and is to be stopped.
  ///
  /// Fails: throws `std::runtime_error` for settings that cannot be used.
  Centre(CentreSettings settings, ServerSettings server, std::function<void()> on_failure = {});

  /// Stops what runs.
  ~Centre();
  Centre(const Centre&) = delete;
  Centre& operator=(const Centre&) = delete;

  /// Fails: throws `std::runtime_error` whose text says what cannot be started.
  void Start();
  void Stop();

  const WebServer& server() const { return server_; }
  const Sites& sites() const { return sites_; }

 private:
  void Take(SiteText text);

  /// Those of which the stream has nothing any more either, now and then.
  void ForgetOldSites();
  HttpService Service();
  CentreFigures Figures() const;
  void Announce() const;

  const ServerSettings server_settings_;
  const int days_;  // for which the stream keeps texts
  const std::string pages_;
  time_t looked_at_ = 0;  // for old sites; of the reader's thread
  std::atomic<std::uint64_t> kept_texts_{0};
  std::atomic<std::uint64_t> dropped_texts_{0};
  Sites sites_;
  StreamReader reader_;
  SiteAnswerer answerer_;
  FleetMetrics metrics_;
  CentreApi api_;
  SiteSubscriptions subscriptions_;
  WebServer server_;
};

}  // namespace probe::centre
