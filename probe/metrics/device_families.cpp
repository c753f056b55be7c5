#include "probe/metrics/device_families.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/device_centre.h"
#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "platform/utilities/text.h"
#include "probe/host/device_details.h"
#include "probe/host/device_snapshot.h"
#include "probe/metrics/families.h"
#include "probe/metrics/label_text.h"
#include "probe/metrics/told_devices.h"

namespace probe::metrics {
namespace {

namespace records = vexora_probe::models::controller;

const char* BandName(records::WIFIBandType band) {
  switch (band) {
    case records::WIFIBandType::k2_4GHz:
      return "2.4GHz";
    case records::WIFIBandType::k5GHz:
      return "5GHz";
    case records::WIFIBandType::kUnknown:
      break;
  }
  return "unknown";
}

void AddWireless(const DeviceSnapshot& snapshot, DeviceFigures& figures) {
  std::int64_t associated = 0;
  for (const auto& [name, state] : snapshot.ssid_interfaces) associated += state.client_count;
  std::size_t trusted = 0;
  for (const records::NeighboringAP& neighbour : snapshot.neighbours) trusted += neighbour.trusted != 0 ? 1 : 0;
  const DeviceDetails& details = snapshot.details;
  if (details.tells_clients) figures.clients = static_cast<double>(details.clients.value_or(associated));
  if (details.tells_portal_users) figures.portal_users = static_cast<double>(snapshot.portal_users.size());
  if (!details.tells_neighbours) return;
  figures.trusted_neighbours = static_cast<double>(trusted);
  figures.untrusted_neighbours = static_cast<double>(snapshot.neighbours.size() - trusted);
}

/// What is known of a device itself. `device`: its id.
DeviceFigures FiguresOf(const std::string& device, const DeviceSnapshot& snapshot) {
  constexpr double kPercent = 100;
  const auto basic = snapshot.basic_info.value_or(records::BasicInfo{});
  const auto platform = snapshot.platform_info.value_or(records::PlatformInfo{});
  DeviceFigures figures{.device = device,
                        .name = basic.hostname,
                        .address = basic.ip,
                        .type = DeviceManager::GetDeviceTypeStr(basic.type),
                        .model = platform.model,
                        .version = platform.version,
                        .is_online = snapshot.online};
  if (snapshot.sample_time.value_or(0) > 0) figures.read_at = snapshot.sample_time;
  if (snapshot.cpu >= 0) figures.cpu_ratio = snapshot.cpu / kPercent;
  if (snapshot.uptime >= 0) figures.uptime = snapshot.uptime;
  if (snapshot.health_level > 0) figures.health_level = snapshot.health_level;
  if (snapshot.details.tells_notifications) {
    figures.notifications = OpenNotifications{.info = snapshot.notifications.info,
                                              .warning = snapshot.notifications.warning,
                                              .alert = snapshot.notifications.alert};
  }
  if (snapshot.is_wireless) AddWireless(snapshot, figures);
  return figures;
}

/// Made one by one: a list in braces would copy each text once more, and there are many.
Labels InterfaceLabels(const std::string& device, const std::string& interface) {
  Labels labels;
  labels.reserve(2);
  labels.push_back({"device", device});
  labels.push_back({"interface", interface});
  return labels;
}

/// What is known of the interfaces, radios and SSIDs of devices.
struct InterfaceFamilies {
  Family received = CounterFamily("vexora_interface_receive_bytes_total", "Octets that an interface has received.");
  Family sent = CounterFamily("vexora_interface_transmit_bytes_total", "Octets that an interface has sent.");
  Family status =
      GaugeFamily("vexora_interface_oper_status", "Operational state of an interface, by RFC 2863: 1 is up.");
  Family radios = GaugeFamily("vexora_radio_info", "What a radio is, as labels; always 1.");
  Family radio_clients = GaugeFamily("vexora_radio_clients", "Wireless clients on a radio.");
  Family ssids =
      GaugeFamily("vexora_ssid_info", "Which SSID an interface carries, on which radio, as labels; always 1.");
  Family ssid_clients = GaugeFamily("vexora_ssid_clients", "Wireless clients on an SSID of a device.");
  Family ssid_received =
      CounterFamily("vexora_ssid_receive_bytes_total", "Octets that an SSID of a device has received.");
  Family ssid_sent = CounterFamily("vexora_ssid_transmit_bytes_total", "Octets that an SSID of a device has sent.");

  void AddInterfaces(const std::string& device, const records::InterfaceStates& interfaces);
  void AddSsids(const std::string& device, const DeviceSnapshot& snapshot);
  void AddRadios(const std::string& device, const DeviceSnapshot& snapshot);
};

void InterfaceFamilies::AddInterfaces(const std::string& device, const records::InterfaceStates& interfaces) {
  for (const auto& [name, state] : interfaces) {
    if (state == nullptr) continue;
    const std::string interface = LabelText(name);
    status.Add(InterfaceLabels(device, interface), state->oper_status);
    if (state->traffic == nullptr) continue;
    received.Add(InterfaceLabels(device, interface), static_cast<double>(state->traffic->in_bytes));
    sent.Add(InterfaceLabels(device, interface), static_cast<double>(state->traffic->out_bytes));
  }
}

void InterfaceFamilies::AddSsids(const std::string& device, const DeviceSnapshot& snapshot) {
  for (const auto& [name, state] : snapshot.ssid_interfaces) {
    const Labels labels{{"device", device}, {"interface", LabelText(name)}, {"ssid", LabelText(state.ssid)}};
    ssids.Add({labels[0], labels[1], labels[2], {"radio", LabelText(state.radio)}}, 1);
    ssid_clients.Add(labels, state.client_count);
    if (state.traffic == nullptr) continue;
    ssid_received.Add(labels, static_cast<double>(state.traffic->in_bytes));
    ssid_sent.Add(labels, static_cast<double>(state.traffic->out_bytes));
  }
}

void InterfaceFamilies::AddRadios(const std::string& device, const DeviceSnapshot& snapshot) {
  for (const auto& [name, state] : snapshot.radios) {
    std::optional<std::int64_t> associated;  // an SSID whose clients are not told is not in the snapshot
    for (const auto& [interface, ssid] : snapshot.ssid_interfaces) {
      if (ssid.radio == name) associated = associated.value_or(0) + ssid.client_count;
    }
    const std::string radio = LabelText(name);
    radios.Add({{"device", device}, {"radio", radio}, {"band", BandName(state.band)}}, 1);
    if (associated) radio_clients.Add({{"device", device}, {"radio", radio}}, static_cast<double>(*associated));
  }
}

/// Whether the plug-in measures the traffic of an interface: one in operation, with counters and a name that is no
/// number.
bool IsMeasured(const std::string& name, const records::InterfaceState* state) {
  return state != nullptr && state->oper_status == records::kOperStatusUp && state->traffic != nullptr &&
         !name.empty() && !kro_utilities::string_con::IsInteger(name);
}

/// How many series the plug-in makes of what the devices report at present, each in all of its views. Of those that
/// have gone it tells nothing.
class SeriesCounts {
 public:
  void Add(const DeviceSnapshot& snapshot) {
    for (const auto& [name, state] : snapshot.interfaces) {
      if (IsMeasured(name, state.get())) ++interfaces_;
    }
    if (!snapshot.is_wireless) return;
    bool has_clients = false;
    for (const auto& [name, state] : snapshot.ssid_interfaces) {
      if (state.clients.empty()) continue;  // an SSID on which nobody ever was has no series
      ssids_.insert(state.ssid);
      has_clients = true;
    }
    if (has_clients) ++wireless_devices_;
  }

  void MoveTo(std::vector<prometheus::MetricFamily>& families) {
    Family series =
        GaugeFamily("vexora_series",
                    "Series that the plug-in keeps for what devices report at present, by what they measure. "
                    "Series of what has gone stay beside them.");
    series.Add({{"kind", "interface_traffic"}}, static_cast<double>(interfaces_));
    series.Add({{"kind", "ssid_clients"}}, static_cast<double>(ssids_.size()));
    series.Add({{"kind", "device_clients"}}, static_cast<double>(wireless_devices_));
    series.MoveTo(families);
  }

 private:
  std::size_t interfaces_ = 0;
  std::size_t wireless_devices_ = 0;
  std::set<std::string> ssids_;
};

std::size_t MaxSamplesOf(const DeviceSnapshot& snapshot) {
  constexpr std::size_t kOfOfflineDevice = 3;
  if (!snapshot.online) return kOfOfflineDevice;
  constexpr std::size_t kOfInterface = 3;
  constexpr std::size_t kOfSsid = 4;
  constexpr std::size_t kOfRadio = 2;
  return DeviceFamilies::kMaxSamples + kOfInterface * snapshot.interfaces.size() +
         kOfSsid * snapshot.ssid_interfaces.size() + kOfRadio * snapshot.radios.size();
}

}  // namespace

void AppendDevices(DeviceCentre& centre, bool is_warming, std::vector<prometheus::MetricFamily>& families,
                   std::size_t max_samples) {
  DeviceFamilies devices;
  InterfaceFamilies interfaces;
  SeriesCounts series;
  std::size_t samples = 0;
  std::size_t ports = 0;
  std::size_t left_out = 0;
  std::vector<std::pair<std::string, std::shared_ptr<const DeviceSnapshot>>> told;
  for (const std::string& mac : centre.GetOnlineManagedDevices(false)) {
    auto snapshot = centre.Snapshot(mac);
    if (snapshot == nullptr) continue;            // it was forgotten between the two questions
    if (snapshot->online) series.Add(*snapshot);  // the plug-in samples no other
    samples += MaxSamplesOf(*snapshot);
    if (samples > max_samples) {
      ++left_out;
      continue;
    }
    ports += snapshot->interfaces.size();
    told.emplace_back(LabelText(mac), std::move(snapshot));
  }
  for (Family* const family : {&interfaces.status, &interfaces.received, &interfaces.sent}) family->Reserve(ports);
  for (const auto& [device, snapshot] : told) {
    devices.Add({}, FiguresOf(device, *snapshot));
    if (!snapshot->online) continue;
    interfaces.AddInterfaces(device, snapshot->interfaces);
    interfaces.AddSsids(device, *snapshot);
    interfaces.AddRadios(device, *snapshot);
  }
  devices.MoveTo(families);
  for (Family* const family : {&interfaces.status, &interfaces.radios, &interfaces.radio_clients, &interfaces.ssids,
                               &interfaces.ssid_clients}) {
    family->MoveTo(families);
  }
  if (!is_warming) {
    for (Family* const counters :
         {&interfaces.received, &interfaces.sent, &interfaces.ssid_received, &interfaces.ssid_sent}) {
      counters->MoveTo(families);
    }
  }
  series.MoveTo(families);
  AddGauge(families, "vexora_metrics_omitted_devices",
           "Devices that are left out here, for the answer would be too large.", static_cast<double>(left_out));
}

}  // namespace probe::metrics
