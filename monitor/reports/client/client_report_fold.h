#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "monitor/reports/client/client_report_records.h"

/// The arithmetic of the wireless client report, on plain rows. The caller holds the lock of what it hands in.
namespace monitoring::client_report {

/// Takes down that pass number `pass` saw a client with these counters. Once in each pass, or several times for a
/// client on several devices: the latest counters stay.
///
/// Returns: the counters of the pass before; null when that did not see the client.
const WirelessClientStatics* Follow(const WirelessClientStatics& counters, std::uint64_t pass,
                                    FollowedClient& followed);

/// Ends a pass that ran out of memory: whom it did not see is taken as seen in it, as in the pass before, so that the
/// next pass goes on from there with everybody to whom it did not come. It does not know those from a client that left
/// a device which it did read: when that one is back in the next pass, it counts as having stayed for both minutes.
void CarryOver(std::uint64_t pass, FollowedClients& clients);

/// Drops the clients that pass number `pass` did not see, once they outnumber the `seen` that it saw.
void DropGone(std::uint64_t pass, std::size_t seen, FollowedClients& clients);

/// A client's row of a day or a week.
struct Row {
  WirelessClientItem* item = nullptr;  ///< Null where there is none, and no room for one.
  bool is_new = false;                 ///< Just made, and empty.
};

/// The row of a client, made if there is none and the report has less than `limit`. Its address stays the same as long
/// as the report lives.
Row RowOf(const Sighting& client, ClientReport& report, std::size_t limit);

/// The rows of a client in a day and in a week.
struct Rows {
  Row day;
  Row week;
};

/// Makes room in a row, if there is one, for what the client is described by.
void MakeRoom(const Sighting& client, const Row& row);

/// Both rows, with room for what the client will be described by: counting it needs no memory any more. Where day and
/// week are full is told by `kMaxClientRowsADay` and `kMaxClientRowsAWeek`.
///
/// Fails: with `std::bad_alloc`, and then there are no rows that were not there before.
Rows RowsOf(const Sighting& client, ClientReport& today, ClientReport& this_week);

/// Adds the traffic and the online time of a client that was there in the last pass, too, to its row of a day or a
/// week, if it has one.
///
/// `online_seconds` is the time since that pass; 0 when the day has changed or the clock was set back. A row that is
/// new, or was first seen in the future, begins now.
void CountContinuing(const Sighting& client, const WirelessClientStatics& before, time_t now,
                     std::int32_t online_seconds, Row row);

/// Adds a client that was not there in the last pass to its row of a day or a week, if it has one. A row that it
/// already has keeps its times and sums: the traffic of its absence is unknown, because its counters may have restarted
/// meanwhile.
void CountArriving(const Sighting& client, time_t now, Row row);

/// Rebuilds the rows of `week` from the days that are kept: those from its first day until before `day`, as far as the
/// week has room.
///
/// Used when the clock was set back: the time since then is counted again, and must not count twice.
/// Fails: with `std::bad_alloc`, and then nothing has changed.
void RebuildWeek(const ClientReports& daily, const std::string& day, const std::string& week, ClientReports& weekly);

/// Removes the first period after `current`, which there is when the clock was set back, and then the oldest when more
/// than `limit` are left. At most one of each: further ones are removed by the next passes.
void Trim(ClientReports& reports, const std::string& current, std::size_t limit);

/// The share of a period that somebody was online, in percent with one decimal, rounded down. 0 for a period of no
/// length, which has just begun.
double OnlinePercent(std::int32_t online_seconds, std::int32_t period_seconds);

}  // namespace monitoring::client_report
