#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"

/// Plain records for the tests of the wireless network report's units.
namespace vexora_probe::monitor {

/// A Wednesday at ten o'clock.
inline ReportTime Wednesday() {
  return {.day = "2026-11-18",
          .week = "2026-11-15/2026-11-21",
          .week_start = "2026-11-15",
          .week_end = "2026-11-21",
          .weekday = 3,
          .slots = 120};
}

inline Networks ClientSample(std::uint32_t clients) {
  Networks sample;
  sample.measured.client.current = clients;
  return sample;
}

/// A past day's record with this total and peak of clients.
inline Networks ClientDay(std::uint32_t total, std::uint32_t peak) {
  Networks day;
  day.measured.client.item = {.peak = peak, .total = total, .average = 0};
  return day;
}

inline Networks CounterSample(std::uint64_t in, std::uint64_t out, time_t polled) {
  Networks sample;
  sample.measured.traffic.inOctets = in;
  sample.measured.traffic.outOctets = out;
  sample.measured.traffic.polling_time = polled;
  return sample;
}

inline Networks TrafficDay(double total, double peak) {
  Networks day;
  day.measured.traffic.average_speed_total = total;
  day.measured.traffic.average = total / 288.0;
  day.measured.traffic.peak = peak;
  return day;
}

/// Seven past days, the latest one the day before that Wednesday, and today.
inline Buckets EightDays(const Networks& record) {
  Buckets daily;
  for (const char* day : {"2026-11-11", "2026-11-12", "2026-11-13", "2026-11-14", "2026-11-15", "2026-11-16",
                          "2026-11-17", "2026-11-18"}) {
    daily[day]["id"] = record;
  }
  return daily;
}

/// What a device tells of a network on 5 GHz with personal WPA: its clients, and counters at 0.
inline NetworkReading NetworkOf(const std::string& ssid, std::uint32_t clients) {
  NetworkReading reading;
  reading.name = ssid;
  reading.security_mode = models::controller::SecModeType::kWpaPersonal;
  reading.band = models::controller::WIFIBandType::k5GHz;
  reading.clients = clients;
  return reading;
}

/// A sample of a family, with this speed.
inline Networks SpeedSample(double speed) {
  Networks sample;
  sample.measured.traffic.average = speed;
  return sample;
}

}  // namespace vexora_probe::monitor
