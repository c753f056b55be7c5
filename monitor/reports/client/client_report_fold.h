#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "monitor/reports/client/client_report_records.h"

namespace monitoring::client_report {

/// Seconds from one moment to a later one; 0 when it is not later. What 32 bits can't hold becomes what they can.
std::int32_t SecondsBetween(time_t earlier, time_t later);

/// What a counter has moved by: the difference, or all of `now` when it is smaller, for then it restarted from 0.
std::uint64_t OctetsBetween(std::uint64_t before, std::uint64_t now);

/// Counts a client who was there in the last pass too, in its row of a day or a week.
///
/// `online_seconds` is the time that it was online since that pass; 0 when the day has changed or the clock was set
/// back. A row that is new, or was first seen in the future, begins now.
void CountContinuing(const Sighting& client, const WirelessClientStatics& before, time_t now,
                     std::int32_t online_seconds, ClientReport& report);

/// Takes a client who was not there in the last pass into a day or a week. A row that it already has keeps its times
/// and sums: how long the client was away, and what its counters did meanwhile, nobody knows.
void CountArriving(const Sighting& client, time_t now, ClientReport& report);

/// Makes the row of `week` anew from the days that are kept: those from its first day until before `day`.
///
/// For a clock that was set back: what the week and the day had counted since then would count twice.
void RebuildWeek(const ClientReports& daily, const std::string& day, const std::string& week, ClientReports& weekly);

/// Removes the first period that lies after `current`, for the clock was set back, and then the oldest when more than
/// `limit` are left. No more than one of each: further ones go with the next passes.
void Trim(ClientReports& reports, const std::string& current, std::size_t limit);

/// The share of a period that somebody was online, in percent with one decimal, rounded down. 0 for a period that has
/// only just begun.
double OnlinePercent(std::int32_t online_seconds, std::int32_t period_seconds);

}  // namespace monitoring::client_report
