#include "probe/metrics/probe_families.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "probe/clock/duration_histogram.h"
#include "probe/clock/pass_phase.h"
#include "probe/host/log.h"
#include "probe/metrics/families.h"
#include "probe/metrics/label_text.h"
#include "probe/metrics/told_devices.h"

namespace probe::metrics {
namespace {

using Families = std::vector<prometheus::MetricFamily>;

const char* NameOf(PassPhase phase) {
  switch (phase) {
    case PassPhase::kHost:
      return "host";
    case PassPhase::kSample:
      return "sample";
    case PassPhase::kPush:
      break;
  }
  return "push";
}

void AppendPasses(const ProbeFigures& figures, Families& families) {
  Family durations = HistogramFamily("vexora_pass_duration_seconds", "How long passes took, by true time.");
  durations.Add(figures.passes.durations);
  durations.MoveTo(families);
  Family phases = HistogramFamily("vexora_pass_phase_duration_seconds",
                                  "How long each phase of the passes took: the work of the host, sampling, pushing.");
  for (const PassPhase phase : {PassPhase::kHost, PassPhase::kSample, PassPhase::kPush}) {
    phases.Add(figures.passes.phases.at(static_cast<std::size_t>(phase)), {{"phase", NameOf(phase)}});
  }
  phases.MoveTo(families);
  AddCounter(families, "vexora_passes_late_total",
             "Passes that began more than a second too late, by the probe's clock.",
             static_cast<double>(figures.passes.late));
  AddCounter(families, "vexora_passes_skipped_total", "Minutes without a pass, for those before were late.",
             static_cast<double>(figures.passes.skipped));
  if (figures.last_pass) {
    Family last = LastPassFamily();
    last.Add({}, static_cast<double>(*figures.last_pass));
    last.MoveTo(families);
  }
  Family ready = HistoryReadyFamily();
  ready.Add({}, figures.is_warming ? 0 : 1);
  ready.MoveTo(families);
}

void AppendJournal(const ProbeFigures& figures, Families& families) {
  if (!figures.journal && !figures.is_journal_failing) return;
  AddGauge(families, "vexora_journal_failing", "Whether the journal cannot be written: 1 or 0.",
           figures.is_journal_failing ? 1 : 0);
  if (!figures.journal) return;
  const journal::JournalCounts& journal = *figures.journal;
  AddCounter(families, "vexora_journal_entries_total", "Entries that were written to the journal.",
             static_cast<double>(journal.entries));
  Family lost = CounterFamily("vexora_journal_lost_passes_total", "Passes that the journal lacks, by the reason.");
  lost.Add({{"reason", "not_written"}}, static_cast<double>(journal.failed_passes));
  lost.Add({{"reason", "left_out"}}, static_cast<double>(journal.left_out_passes));
  lost.MoveTo(families);
  AddCounter(families, "vexora_journal_written_bytes_total", "Octets that were written to the journal.",
             static_cast<double>(journal.written_octets));
  AddGauge(families, "vexora_journal_size_bytes", "Octets of the journal on the disk.",
           static_cast<double>(journal.size_octets));
  AddGauge(families, "vexora_journal_waiting_entries", "Entries that wait to be written to the journal.",
           static_cast<double>(journal.waiting));
  Family durations = HistogramFamily("vexora_journal_write_duration_seconds",
                                     "How long entries of the journal took to be encoded and to reach the disk.");
  durations.Add(journal.write_durations);
  durations.MoveTo(families);
}

void AppendUplink(const ProbeFigures& figures, Families& families) {
  if (!figures.uplink) return;
  const uplink::UplinkCounts& uplink = *figures.uplink;
  AddGauge(families, "vexora_uplink_connected", "Whether the uplink is connected to a server: 1 or 0.",
           uplink.is_connected ? 1 : 0);
  AddCounter(families, "vexora_uplink_stored_total", "Texts that a server of the uplink has acknowledged.",
             static_cast<double>(uplink.stored));
  AddCounter(families, "vexora_uplink_lost_total", "Texts that a bound cut off before a server acknowledged them.",
             static_cast<double>(uplink.cut));
  AddGauge(families, "vexora_uplink_waiting", "Texts that wait for a server of the uplink.",
           static_cast<double>(uplink.waiting));
  AddGauge(families, "vexora_uplink_waiting_bytes", "Octets of the texts that wait for a server of the uplink.",
           static_cast<double>(uplink.waiting_bytes));
}

void AppendPolls(const ProbeFigures& figures, Families& families) {
  Family targets = GaugeFamily("vexora_snmp_target_info",
                               "Which device answers at an address that is asked by SNMP, as labels; always 1.");
  Family up = GaugeFamily("vexora_snmp_target_up", "Whether the last poll of an address gave a reading: 1 or 0.");
  Family answered = CounterFamily("vexora_snmp_polls_total", "Polls by SNMP, those that failed included.");
  Family failed = CounterFamily("vexora_snmp_failed_polls_total", "Polls by SNMP that gave no reading.");
  Family last = GaugeFamily("vexora_snmp_last_poll_duration_seconds", "How long the last poll of an address took.");
  Family durations =
      HistogramFamily("vexora_snmp_poll_duration_seconds", "How long polls by SNMP took, of all addresses.");
  constexpr double kMilliseconds = 1000;
  for (const snmp::DeviceStatus& status : figures.polls) {
    const Labels labels{{"target", LabelText(status.address)}};
    targets.Add({labels.front(),
                 {"device", LabelText(status.mac)},
                 {"name", LabelText(status.name)},
                 {"profile", LabelText(status.health.profile)}},
                1);
    up.Add(labels, status.health.answered ? 1 : 0);
    answered.Add(labels, static_cast<double>(status.totals.answered + status.totals.failed));
    failed.Add(labels, static_cast<double>(status.totals.failed));
    last.Add(labels, static_cast<double>(status.health.duration.count()) / kMilliseconds);
  }
  // Also when a reload has taken all devices away: a counter that comes and goes looks like a restart.
  const auto in_classes = figures.poll_durations.counts();
  const bool was_polled = std::ranges::any_of(in_classes, [](std::uint64_t polls) { return polls > 0; });
  if (was_polled || !figures.polls.empty()) durations.Add(figures.poll_durations);
  for (Family* const family : {&targets, &up, &answered, &failed, &last, &durations}) family->MoveTo(families);
}

}  // namespace

void AppendProcess(const ProcessFigures& process, Families& families) {
  AddGauge(families, "vexora_process_resident_memory_bytes", "Memory that the process occupies.",
           static_cast<double>(process.resident_octets));
  AddCounter(families, "vexora_process_cpu_seconds_total", "Processor time that the process has taken.",
             process.processor_seconds);
  AddGauge(families, "vexora_process_start_time_seconds", "When the process was started, seconds since the epoch.",
           static_cast<double>(process.started_at));
  AddGauge(families, "vexora_process_threads", "Threads of the process.", static_cast<double>(process.threads));
  if (process.open_files) {
    AddGauge(families, "vexora_process_open_fds", "Files and sockets that the process has open.",
             static_cast<double>(*process.open_files));
  }
}

void AppendProbe(const ProbeFigures& figures, const ProcessFigures& process, Families& families) {
  Family build = BuildInfoFamily();
  build.Add({{"version", LabelText(figures.version)}}, 1);
  build.MoveTo(families);
  Family speed = ClockSpeedFamily();
  speed.Add({}, figures.speed);
  speed.MoveTo(families);
  AppendProcess(process, families);
  AppendPasses(figures, families);
  AppendJournal(figures, families);
  AppendUplink(figures, families);
  AppendPolls(figures, families);
}

void AppendLog(Families& families) {
  Family lines = CounterFamily("vexora_log_lines_total", "Lines that were written to the log.");
  for (auto level = static_cast<int>(log::Level::kDebug); level <= static_cast<int>(log::Level::kError); ++level) {
    const auto of_it = static_cast<log::Level>(level);
    lines.Add({{"level", log::LevelName(of_it)}}, static_cast<double>(log::LinesWritten(of_it)));
  }
  lines.MoveTo(families);
}

void AppendServer(const ServerCounts& server, const MessageCounts& messages, std::size_t queued, Families& families) {
  Family connections = GaugeFamily("vexora_connections", "Connections that are open.");
  connections.Add({{"kind", "http"}}, static_cast<double>(server.http_connections));
  connections.Add({{"kind", "websocket"}}, static_cast<double>(server.websockets));
  connections.MoveTo(families);
  AddGauge(families, "vexora_subscriptions", "Subscriptions of websocket clients.",
           static_cast<double>(server.subscriptions));
  AddGauge(families, "vexora_filters", "Different filters among the subscriptions of websocket clients.",
           static_cast<double>(server.filters));
  AddGauge(families, "vexora_queued_bytes", "Octets of messages that wait for clients or are being written to them.",
           static_cast<double>(queued));
  AddCounter(families, "vexora_messages_sent_total", "Messages that were written to websocket clients.",
             static_cast<double>(messages.sent));
  AddCounter(families, "vexora_messages_superseded_total",
             "Messages that were not sent, for a newer one of the same topic came.",
             static_cast<double>(messages.superseded));
  Family dropped = CounterFamily("vexora_messages_dropped_total", "Messages that were lost, by the reason.");
  dropped.Add({{"reason", "queue_full"}}, static_cast<double>(messages.queue_full));
  dropped.Add({{"reason", "all_queues_full"}}, static_cast<double>(messages.queues_full));
  dropped.Add({{"reason", "disconnected"}}, static_cast<double>(messages.disconnected));
  dropped.MoveTo(families);
}

}  // namespace probe::metrics
