#include "probe/metrics/told_devices.h"

#include <iterator>
#include <utility>

#include "probe/metrics/label_text.h"

namespace probe::metrics {

DeviceFamilies::DeviceFamilies()
    : info_(GaugeFamily("vexora_device_info", "What a device is, as labels; always 1.")),
      up_(GaugeFamily("vexora_device_up", "Whether a device is online: 1 or 0.")),
      read_at_(GaugeFamily("vexora_device_last_reading_timestamp_seconds",
                           "When a device was last read, seconds since the epoch.")),
      cpu_(GaugeFamily("vexora_device_cpu_usage_ratio", "Use of a device's processor, from 0 to 1.")),
      uptime_(GaugeFamily("vexora_device_uptime_seconds", "Time since a device started.")),
      health_(GaugeFamily("vexora_device_health_level", "Judgement of a device's health, 1 to 4, greater is worse.")),
      notifications_(GaugeFamily("vexora_device_notifications", "Open notifications of a device.")),
      clients_(GaugeFamily("vexora_device_clients", "Wireless clients of a device, by its own count.")),
      portal_users_(GaugeFamily("vexora_device_portal_users", "Clients that signed in at the portal of a device.")),
      neighbours_(GaugeFamily("vexora_device_neighboring_access_points",
                              "Access points that a device hears, by whether they are trusted.")) {}

void DeviceFamilies::Add(const Labels& labels, const DeviceFigures& figures) {
  const Labels device = Joined(labels, {{"device", LabelText(figures.device)}});
  info_.Add(Joined(device, {{"name", LabelText(figures.name)},
                            {"address", LabelText(figures.address)},
                            {"type", LabelText(figures.type)},
                            {"model", LabelText(figures.model)},
                            {"version", LabelText(figures.version)}}),
            1);
  up_.Add(device, figures.is_online ? 1 : 0);
  if (figures.read_at) read_at_.Add(device, static_cast<double>(*figures.read_at));
  if (figures.is_online) AddReading(device, figures);
}

void DeviceFamilies::AddReading(const Labels& device, const DeviceFigures& figures) {
  if (figures.cpu_ratio) cpu_.Add(device, *figures.cpu_ratio);
  if (figures.uptime) uptime_.Add(device, *figures.uptime);
  if (figures.health_level) health_.Add(device, *figures.health_level);
  if (figures.notifications) {
    const auto add = [&](const char* severity, std::int64_t count) {
      notifications_.Add(Joined(device, {{"severity", severity}}), static_cast<double>(count));
    };
    add("info", figures.notifications->info);
    add("warning", figures.notifications->warning);
    add("alert", figures.notifications->alert);
  }
  if (figures.clients) clients_.Add(device, *figures.clients);
  if (figures.portal_users) portal_users_.Add(device, *figures.portal_users);
  if (figures.trusted_neighbours) neighbours_.Add(Joined(device, {{"trusted", "true"}}), *figures.trusted_neighbours);
  if (figures.untrusted_neighbours)
    neighbours_.Add(Joined(device, {{"trusted", "false"}}), *figures.untrusted_neighbours);
}

void DeviceFamilies::MoveTo(std::vector<prometheus::MetricFamily>& families) {
  for (Family* const family :
       {&info_, &up_, &read_at_, &cpu_, &uptime_, &health_, &notifications_, &clients_, &portal_users_, &neighbours_}) {
    family->MoveTo(families);
  }
}

Family BuildInfoFamily() {
  return GaugeFamily("vexora_build_info", "The version of a program, as a label; always 1.");
}

Family ClockSpeedFamily() {
  return GaugeFamily("vexora_clock_speed_ratio", "How many times faster than true time the probe's clock runs.");
}

Family LastPassFamily() {
  return GaugeFamily("vexora_last_pass_timestamp_seconds",
                     "When the last pass was, seconds since the epoch by the probe's clock.");
}

Family HistoryReadyFamily() {
  return GaugeFamily("vexora_history_ready",
                     "Whether the histories are whole: 0 while the journal is replayed, else 1.");
}

Labels Joined(const Labels& labels, Labels others) {
  Labels joined;
  joined.reserve(labels.size() + others.size());
  joined.assign(labels.begin(), labels.end());
  joined.insert(joined.end(), std::make_move_iterator(others.begin()), std::make_move_iterator(others.end()));
  return joined;
}

}  // namespace probe::metrics
