#include "monitor/reports/client/client_report_fold.h"

#include <algorithm>
#include <new>

#include "monitor/engine/counters.h"
#include "monitor/engine/report_limits.h"

namespace monitoring::client_report {
namespace {

/// The sum of two online times, neither of which is negative.
std::int32_t Sum(std::int32_t left, std::int32_t right) {
  return SaturatedSeconds(static_cast<std::uint64_t>(left) + static_cast<std::uint64_t>(right));
}

ClientRows& RowsIn(ClientReport& report, const Sighting& client) {
  return client.is_guest ? report.guests : report.clients;
}

/// Copies what the device reported last. Allocates nothing where there is room.
void Describe(const Sighting& client, WirelessClientItem& row) {
  row.data_rate = client.data_rate;
  row.hostname = client.hostname;
  row.mode = client.mode;
  row.band = client.band;
}

std::size_t RowsIn(const ClientReport& report) {
  return report.clients.size() + report.guests.size();
}

/// The row of a key in one of the maps of a report.
Row RowOf(const std::string& key, ClientRows& rows, const ClientReport& report, std::size_t limit) {
  if (RowsIn(report) < limit) {
    const auto [entry, is_new] = rows.try_emplace(key);
    return {.item = &entry->second, .is_new = is_new};
  }
  const auto known = rows.find(key);
  return {.item = known == rows.end() ? nullptr : &known->second};
}

/// Adds the rows of a day to those of its week, which are in a map of `report`. Days come oldest first, so the week
/// ends with what was reported last.
void AddRows(const ClientRows& day, ClientRows& week, const ClientReport& report) {
  for (const auto& [key, counted] : day) {
    const Row of_week = RowOf(key, week, report, kMaxClientRowsAWeek);
    if (of_week.item == nullptr) continue;
    WirelessClientItem& row = *of_week.item;
    if (of_week.is_new) row.first_seen = counted.first_seen;
    row.online_time = Sum(row.online_time, counted.online_time);
    row.upload += counted.upload;
    row.download += counted.download;
    row.data_rate = counted.data_rate;
    row.last_seen = counted.last_seen;
    row.hostname = counted.hostname;
    row.mode = counted.mode;
    row.band = counted.band;
  }
}

}  // namespace

void MakeRoom(const Sighting& client, const Row& row) {
  if (row.item != nullptr && row.item->hostname.capacity() < client.hostname.size()) {
    row.item->hostname.reserve(client.hostname.size());
  }
}

const WirelessClientStatics* Follow(const WirelessClientStatics& counters, std::uint64_t pass,
                                    FollowedClient& followed) {
  if (followed.pass != pass) {
    followed.was_there_before = followed.pass != 0 && followed.pass == pass - 1;
    followed.before = followed.latest;
    followed.pass = pass;
  }
  followed.latest = counters;
  return followed.was_there_before ? &followed.before : nullptr;
}

void CarryOver(std::uint64_t pass, FollowedClients& clients) {
  for (auto& [key, client] : clients) {
    if (client.pass != 0 && client.pass == pass - 1) client.pass = pass;
  }
}

void DropGone(std::uint64_t pass, std::size_t seen, FollowedClients& clients) {
  if (clients.size() / 2 <= seen) return;
  std::erase_if(clients, [&](const auto& entry) { return entry.second.pass != pass; });
}

Row RowOf(const Sighting& client, ClientReport& report, std::size_t limit) {
  return RowOf(client.key, RowsIn(report, client), report, limit);
}

Rows RowsOf(const Sighting& client, ClientReport& today, ClientReport& this_week) {
  const Row day = RowOf(client, today, kMaxClientRowsADay);
  Row week;
  try {
    constexpr std::size_t kNoRoom = 0;
    week = RowOf(client, this_week, day.item == nullptr ? kNoRoom : kMaxClientRowsAWeek);
    MakeRoom(client, day);
    MakeRoom(client, week);
    return {.day = day, .week = week};
  } catch (const std::bad_alloc&) {
    // A row of which nothing is counted would be shown with times of 1970.
    if (day.is_new) RowsIn(today, client).erase(client.key);
    if (week.is_new) RowsIn(this_week, client).erase(client.key);
    throw;
  }
}

void CountContinuing(const Sighting& client, const WirelessClientStatics& before, time_t now,
                     std::int32_t online_seconds, Row row) {
  if (row.item == nullptr) return;
  WirelessClientItem& item = *row.item;
  if (row.is_new || item.first_seen > now) item.first_seen = now;
  // A client on two devices at once is counted on both, but its online time must not exceed the time that has passed.
  item.online_time =
      std::min(Sum(item.online_time, online_seconds), SaturatedSeconds(SecondsBetween(item.first_seen, now)));
  item.upload += CounterIncrease(before.in_bytes, client.counters.in_bytes);
  item.download += CounterIncrease(before.out_bytes, client.counters.out_bytes);
  item.last_seen = now;
  Describe(client, item);
}

void CountArriving(const Sighting& client, time_t now, Row row) {
  if (row.item == nullptr) return;
  if (row.is_new) row.item->first_seen = row.item->last_seen = now;
  Describe(client, *row.item);
}

void RebuildWeek(const ClientReports& daily, const std::string& day, const std::string& week, ClientReports& weekly) {
  // The key of a week begins with the key of its first day, and keys of days sort as the days do.
  const std::string first_day = week.substr(0, week.find('/'));
  ClientReports rebuilt;  // empty when there are no days: a week without days does not exist
  for (auto kept = daily.lower_bound(first_day); kept != daily.end() && kept->first < day; ++kept) {
    ClientReport& report = rebuilt[week];
    AddRows(kept->second.clients, report.clients, report);
    AddRows(kept->second.guests, report.guests, report);
  }
  // From here on nothing allocates.
  weekly.erase(week);
  weekly.merge(rebuilt);
}

void Trim(ClientReports& reports, const std::string& current, std::size_t limit) {
  const auto future = reports.upper_bound(current);
  if (future != reports.end()) reports.erase(future);
  if (reports.size() > limit) reports.erase(reports.begin());
}

double OnlinePercent(std::int32_t online_seconds, std::int32_t period_seconds) {
  if (period_seconds == 0) return 0;
  const std::int64_t tenths = std::int64_t{online_seconds} * 1000 / period_seconds;
  return static_cast<double>(tenths) / 10.0;
}

}  // namespace monitoring::client_report
