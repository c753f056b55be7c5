#include "probe/metrics/metrics.h"

#include <memory>
#include <string>
#include <utility>

#include "probe/metrics/device_families.h"
#include "probe/metrics/exposition.h"
#include "probe/metrics/process_figures.h"

namespace probe::metrics {

Metrics::Metrics(DeviceCentre& centre, const WebServer* server, Source source)
    : centre_(centre), server_(server), source_(std::move(source)) {}

std::vector<prometheus::MetricFamily> Metrics::Collect() const {
  std::vector<prometheus::MetricFamily> families;
  // Asked before the devices: whoever has no longer to wait has gone on from the journal's counters.
  const ProbeFigures figures = source_();
  AppendProbe(figures, ReadProcessFigures(), families);
  AppendLog(families);
  if (server_ != nullptr) {
    AppendServer(server_->counts(), server_->queues().counts(), server_->queues().octets(), families);
  }
  AppendDevices(centre_, figures.is_warming, families);
  return families;
}

HttpAnswer Metrics::Answer(const HttpRequest& request) const {
  const Format format = FormatFor(request.accept);
  HttpAnswer answer;
  answer.content_type = ContentTypeOf(format);
  answer.body = std::make_shared<const std::string>(Serialise(Collect(), format));
  return answer;
}

}  // namespace probe::metrics
