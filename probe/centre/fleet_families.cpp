#include "probe/centre/fleet_families.h"

#include <optional>
#include <string>
#include <utility>

#include "probe/metrics/label_text.h"

namespace probe::centre {
namespace {

using metrics::Family;
using metrics::GaugeFamily;
using metrics::Joined;
using metrics::Labels;
using metrics::LabelText;

/// The time of the speeds of a site; nothing: that of the scrape. A database refuses times that are far ahead, and a
/// clock that runs faster has none that it could take.
std::optional<time_t> TimeOf(const SiteFigures& figures, time_t now) {
  constexpr time_t kMaxAhead = 300;
  const bool is_true = figures.clock_speed.value_or(1) == 1;
  if (!figures.measured_at || !is_true || *figures.measured_at - now > kMaxAhead) return std::nullopt;
  return figures.measured_at;
}

void AddAt(Family& family, Labels labels, double value, std::optional<time_t> time) {
  if (time) {
    family.AddAt(std::move(labels), value, *time);
  } else {
    family.Add(std::move(labels), value);
  }
}

}  // namespace

FleetFamilies::FleetFamilies(time_t now, const std::string& version)
    : now_(now),
      sites_(GaugeFamily("vexora_sites", "Sites, by how they fare.")),
      up_(GaugeFamily("vexora_site_up", "Whether a site is heard: 1, or 0 when it is away.")),
      heard_(GaugeFamily("vexora_site_last_heard_timestamp_seconds",
                         "Of when the newest text of a site tells, seconds since the epoch.")),
      site_clients_(GaugeFamily("vexora_site_clients", "Wireless clients of a site, each counted once.")),
      build_(metrics::BuildInfoFamily()),
      clock_speed_(metrics::ClockSpeedFamily()),
      last_pass_(metrics::LastPassFamily()),
      history_ready_(metrics::HistoryReadyFamily()),
      listed_clients_(GaugeFamily("vexora_ssid_listed_clients", "Wireless clients that a device lists on an SSID.")),
      measured_(
          GaugeFamily("vexora_device_measured",
                      "1 at the minute of each pass that measured a device: an interface without a speed then has "
                      "moved nothing.")),
      received_(GaugeFamily("vexora_interface_receive_bytes_per_second",
                            "Octets that an interface received in a second, mean of a minute.")),
      sent_(GaugeFamily("vexora_interface_transmit_bytes_per_second",
                        "Octets that an interface sent in a second, mean of a minute.")) {
  build_.Add({{"version", version}}, 1);
}

void FleetFamilies::AddState(const SiteSummary& site) {
  ++levels_.at(static_cast<std::size_t>(site.Level(now_)));
  up_.Add({{"site", site.name}}, site.IsAway(now_) ? 0 : 1);
  heard_.Add({{"site", site.name}}, static_cast<double>(site.heard));
}

void FleetFamilies::AddProbe(const Labels& site, const SiteFigures& figures) {
  if (!figures.version.empty()) build_.Add(Joined(site, {{"version", LabelText(figures.version)}}), 1);
  if (figures.clock_speed) clock_speed_.Add(site, *figures.clock_speed);
  if (figures.last_pass) last_pass_.Add(site, *figures.last_pass);
  if (figures.is_history_ready) history_ready_.Add(site, *figures.is_history_ready ? 1 : 0);
}

void FleetFamilies::AddSpeeds(const Labels& site, const SiteFigures& figures) {
  if (!figures.measured_at) return;
  const auto time = TimeOf(figures, now_);
  for (const metrics::DeviceFigures& device : figures.devices) {
    if (device.is_online) AddAt(measured_, Joined(site, {{"device", LabelText(device.device)}}), 1, time);
  }
  for (const DeviceSpeeds& device : figures.speeds) {
    const Labels of_device = Joined(site, {{"device", LabelText(device.device)}});
    for (const InterfaceSpeed& speed : device.interfaces) {
      Labels labels = Joined(of_device, {{"interface", LabelText(speed.interface)}});
      AddAt(received_, labels, static_cast<double>(speed.input), time);
      AddAt(sent_, std::move(labels), static_cast<double>(speed.output), time);
    }
  }
}

void FleetFamilies::Add(const SiteSummary& site, const SiteFigures& figures) {
  const Labels labels{{"site", site.name}};
  site_clients_.Add(labels, static_cast<double>(site.clients));
  AddProbe(labels, figures);
  for (const metrics::DeviceFigures& device : figures.devices) devices_.Add(labels, device);
  for (const ListedClients& listed : figures.ssids)
    listed_clients_.Add(Joined(labels, {{"device", LabelText(listed.device)}, {"ssid", LabelText(listed.ssid)}}),
                        static_cast<double>(listed.clients));
  AddSpeeds(labels, figures);
}

void FleetFamilies::MoveTo(std::vector<prometheus::MetricFamily>& families) {
  for (const SiteLevel level : kSiteLevels)
    sites_.Add({{"state", NameOf(level)}}, static_cast<double>(levels_.at(static_cast<std::size_t>(level))));
  // One after the other, as a family has one place in a text.
  for (Family* const family : {&sites_, &up_, &heard_, &site_clients_, &clock_speed_, &last_pass_, &history_ready_})
    family->MoveTo(families);
  build_.MoveTo(families);
  devices_.MoveTo(families);
  for (Family* const family : {&listed_clients_, &measured_, &received_, &sent_}) family->MoveTo(families);
}

}  // namespace probe::centre
