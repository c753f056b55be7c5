#pragma once

#include <prometheus/collectable.h>
#include <prometheus/metric_family.h>

#include <functional>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/metrics/probe_families.h"
#include "probe/server/http/http_message.h"
#include "probe/server/web_server.h"

namespace probe::metrics {

/// What the probe tells Prometheus: at each question the newest snapshots and the probe's own figures, collected in one
/// go. Nothing is kept from question to question, so that a device that was removed is gone from the next answer.
///
/// Threads: any, several at once. No lock of the engine, of a monitor or of the device centre is held while an answer
/// is built.
class Metrics final : public prometheus::Collectable {
 public:
  /// What the probe tells of itself at this moment. Threads: any.
  using Source = std::function<ProbeFigures()>;

  /// `centre` and `server` must outlive it. Null: there is no server.
  Metrics(DeviceCentre& centre, const WebServer* server, Source source);

  std::vector<prometheus::MetricFamily> Collect() const override;

  /// The answer to a scrape, in the format that it asks for.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  DeviceCentre& centre_;
  const WebServer* const server_;
  const Source source_;
};

}  // namespace probe::metrics
