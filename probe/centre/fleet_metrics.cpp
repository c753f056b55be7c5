#include "probe/centre/fleet_metrics.h"

#include <malloc.h>

#include <set>

#include "probe/centre/site_summary.h"
#include "probe/metrics/exposition.h"
#include "probe/metrics/families.h"
#include "probe/metrics/probe_families.h"
#include "probe/metrics/process_figures.h"

using utilities::lock::lock_guard;

namespace probe::centre {
namespace {

using metrics::CounterFamily;
using metrics::Family;

void AppendCentre(const CentreFigures& figures, std::vector<prometheus::MetricFamily>& families) {
  metrics::AddGauge(families, "vexora_centre_reading", "Whether the stream of the sites is read: 1 or 0.",
                    figures.is_reading ? 1 : 0);
  Family texts = CounterFamily("vexora_centre_texts_total", "Texts that came from the stream, by what became of them.");
  texts.Add({{"result", "kept"}}, static_cast<double>(figures.kept_texts));
  texts.Add({{"result", "dropped"}}, static_cast<double>(figures.dropped_texts));
  texts.MoveTo(families);
  Family questions = CounterFamily("vexora_centre_questions_total", "Questions to sites, by what became of them.");
  questions.Add({{"result", "answered"}}, static_cast<double>(figures.questions.answered));
  questions.Add({{"result", "unanswered"}}, static_cast<double>(figures.questions.unanswered));
  questions.Add({{"result", "refused"}}, static_cast<double>(figures.questions.refused));
  questions.MoveTo(families);
  metrics::AddGauge(families, "vexora_centre_waiting_questions", "Questions to sites that have no answer yet.",
                    static_cast<double>(figures.questions.waiting));
}

}  // namespace

FleetMetrics::Marks FleetMetrics::MarksOf(const Sites::Known& site) {
  Marks marks;
  marks.reserve(site.texts.size());
  for (const auto& [topic, text] : site.texts) marks.emplace_back(text->stream_made_ns, text->sequence);
  return marks;
}

std::shared_ptr<const SiteFigures> FleetMetrics::FiguresOf(const Sites::Known& site) const {
  Marks marks = MarksOf(site);
  {
    const lock_guard held(lock_);
    const auto found = read_.find(site.summary->name);
    if (found != read_.end() && found->second.marks == marks) return found->second.figures;
  }
  // Without the lock: to read the texts takes a while.
  auto figures = std::make_shared<const SiteFigures>(ReadSiteFigures(site));
  const lock_guard held(lock_);
  read_[site.summary->name] = {std::move(marks), figures};
  return figures;
}

void FleetMetrics::ForgetAllBut(const std::vector<Sites::Known>& sites) const {
  std::set<std::string> names;
  for (const Sites::Known& site : sites) names.insert(site.summary->name);
  const lock_guard held(lock_);
  std::erase_if(read_, [&](const auto& read) { return !names.contains(read.first); });
}

void FleetMetrics::AddSites(time_t now, std::size_t max_samples, FleetFamilies& fleet,
                            std::vector<prometheus::MetricFamily>& families) const {
  auto sites = sites_.All();
  for (const Sites::Known& site : sites) fleet.AddState(*site.summary);
  std::erase_if(sites, [now](const Sites::Known& site) { return site.summary->IsAway(now); });
  ForgetAllBut(sites);
  std::size_t samples = 0;
  std::size_t left_out = 0;
  for (const Sites::Known& site : sites) {
    const auto figures = FiguresOf(site);
    const std::size_t of_site = figures->MaxSamples();
    if (of_site > max_samples - samples) {
      ++left_out;
      continue;
    }
    samples += of_site;
    fleet.Add(*site.summary, *figures);
  }
  metrics::AddGauge(families, "vexora_metrics_omitted_sites",
                    "Sites whose figures are left out here, for the answer would be too large.",
                    static_cast<double>(left_out));
}

std::vector<prometheus::MetricFamily> FleetMetrics::Collect(time_t now, std::size_t max_samples) const {
  std::vector<prometheus::MetricFamily> families;
  const CentreFigures centre = source_();
  AppendCentre(centre, families);
  FleetFamilies fleet(now, centre.version);
  AddSites(now, max_samples, fleet, families);
  fleet.MoveTo(families);
  metrics::AppendProcess(metrics::ReadProcessFigures(), families);
  metrics::AppendLog(families);
  metrics::AppendServer(server_.counts(), server_.queues().counts(), server_.queues().octets(), families);
  return families;
}

HttpAnswer FleetMetrics::Answer(const HttpRequest& request) const {
  const metrics::Format format = metrics::FormatFor(request.accept);
  HttpAnswer answer;
  answer.content_type = metrics::ContentTypeOf(format);
  answer.body = std::make_shared<const std::string>(Serialise(Collect(time(nullptr)), format));
  // Each worker has a heap of its own, and each would keep the hundred megabytes that a thousand sites take here.
  malloc_trim(0);
  return answer;
}

}  // namespace probe::centre
