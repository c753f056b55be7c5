#pragma once

#include <prometheus/metric_family.h>

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "probe/clock/duration_histogram.h"
#include "probe/clock/pass_timer.h"
#include "probe/journal/journal_writer.h"
#include "probe/metrics/process_figures.h"
#include "probe/server/server_counts.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/uplink/uplink_counts.h"

namespace probe::metrics {

/// What the probe tells of itself, but for the messages and connections of its server.
struct ProbeFigures {
  std::string version;
  unsigned speed = 1;               ///< How many times faster than true time its clock runs.
  bool is_warming = false;          ///< The journal is replayed, and nothing is measured yet.
  std::optional<time_t> last_pass;  ///< By the probe's clock; nothing: there was none.
  PassTotals passes;
  std::optional<journal::JournalCounts> journal;  ///< Nothing: there is none.
  bool is_journal_failing = false;                ///< Also when there should be one.
  std::optional<uplink::UplinkCounts> uplink;     ///< Nothing: there is none.
  std::vector<snmp::DeviceStatus> polls;
  DurationHistogram poll_durations;  ///< Also of devices that are asked no longer.
};

/// Appends what the process takes of the machine.
void AppendProcess(const ProcessFigures& process, std::vector<prometheus::MetricFamily>& families);

/// Appends what the process takes of the machine, and how it does its work.
void AppendProbe(const ProbeFigures& figures, const ProcessFigures& process,
                 std::vector<prometheus::MetricFamily>& families);

/// Appends the lines of the log by level.
void AppendLog(std::vector<prometheus::MetricFamily>& families);

/// Appends what the server has, and what became of its messages. `queued`: octets that wait for clients.
void AppendServer(const ServerCounts& server, const MessageCounts& messages, std::size_t queued,
                  std::vector<prometheus::MetricFamily>& families);

}  // namespace probe::metrics
