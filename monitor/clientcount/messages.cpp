// The client-count monitor's messages: one shape by SSID, one by device.

#include <utility>

#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/clientcount/client_count_show.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/credential_members.h"
#include "monitor/engine/json_keys.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace clientcount = monitoring::clientcount;
namespace json_key = monitoring::json_key;
using monitoring::JsonTree;
using utilities::lock::lock_guard_read;

namespace {

constexpr const char* kAll = "";
constexpr const char* kDeviceClientMsgSignature =
    "void ClientCountMonitor::GenerateDeviceClientMsg(json_object*, const Filter*, timeval&)";

/// The entry of `id`, or all for an empty text.
template <typename ById>
ById OnlyOf(const ById& all, const std::string& id) {
  if (id.empty()) return all;
  const auto found = all.find(id);
  return found == all.end() ? ById{} : ById{*found};
}

JsonTree TotalsObject(const clientcount::Totals& totals) {
  JsonTree object = monitoring::NewObject();
  clientcount::AddSamples(object, totals);
  return object;
}

}  // namespace

std::string ClientCountMonitor::GenerateJsonMsg(const std::string& type, const Filter& filter,
                                                const std::vector<std::string>& sids) {
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::GenerateJsonMsg] start");
  const JsonTree message = monitoring::NewObject();
  JsonTree body = monitoring::NewObject();
  if (type == monitoring::kSsidClientCountMonitor) {
    GenerateSSIDClientMsg(body, filter);
  } else if (type == monitoring::kDevicesClientCountMonitor) {
    GenerateDeviceClientMsg(body, filter);
  }
  monitoring::Add(body, json_key::kSid, monitoring::NewSidArray(sids));
  monitoring::Add(message, IntervalOf(filter, monitoring::kClientCountDefaultView), std::move(body));
  return kro_utilities::jsonobject::compose_communication_struct(type.c_str(), message.get());
}

ClientCountMonitor::SeriesById ClientCountMonitor::Copy(const Views& views, const std::string& view,
                                                        const std::string& id) {
  const auto found = views.find(view);
  return found == views.end() ? SeriesById{} : OnlyOf(found->second, id);
}

void ClientCountMonitor::CalculateTotalNumbersForSSID(const Series& series, Series& totals) {
  clientcount::AddTo(totals, series);
}

int ClientCountMonitor::CalculateTotalNumbersForDevices(const Series& series, const JsonTree& object, Series& totals) {
  clientcount::AddSamples(object, series);
  clientcount::AddTo(totals, series);
  return clientcount::HasFewZeroes(series) ? 0 : -1;
}

void ClientCountMonitor::GenerateSSIDClientMsg(const JsonTree& body, const Filter& filter) const {
  SeriesById view;
  clientcount::CountById current;
  {
    const lock_guard_read held(counts_lock);
    view = Copy(ssid_client_counts, IntervalOf(filter, monitoring::kClientCountDefaultView), kAll);
    current = clientcount::CountBySsid(ssid_current_clients, filter.mac);
  }
  clientcount::Totals totals;
  JsonTree ssids = monitoring::NewObject();
  for (const auto& [ssid, series] : view) {
    CalculateTotalNumbersForSSID(series, totals);
    if (!clientcount::HasFewZeroes(series)) continue;
    JsonTree object = monitoring::NewObject();
    clientcount::AddSamples(object, series);
    monitoring::Add(ssids, ssid, std::move(object));
  }
  monitoring::Add(ssids, json_key::kSsidClientCountAll, TotalsObject(totals));
  monitoring::Add(body, json_key::kSsidsClientsCounts, std::move(ssids));
  monitoring::Add(body, json_key::kCurrentSsidClientsCounts, clientcount::CurrentSsidsObject(current));
}

void ClientCountMonitor::GenerateDeviceClientMsg(const JsonTree& body, const Filter& filter) const {
  SeriesById view;
  CurrentCounts current;
  {
    const lock_guard_read held(counts_lock);
    view = Copy(device_client_counts, IntervalOf(filter, monitoring::kClientCountDefaultView), filter.mac);
    current = OnlyOf(device_current_clients, filter.mac);
  }
  clientcount::Totals totals;
  JsonTree devices = monitoring::NewObject();
  for (const auto& [mac, series] : view) {
    JsonTree object = monitoring::NewObject();
    if (CalculateTotalNumbersForDevices(series, object, totals) == 0) monitoring::Add(devices, mac, std::move(object));
  }
  monitoring::Add(body, json_key::kCurrentDevicesCounts, clientcount::CurrentDevicesObject(current));
  if (totals.empty() && !filter.mac.empty() && current.empty()) {
    pel_log_debug(log_module::kMonitor, "[%s] device: %s clients all is empty", kDeviceClientMsgSignature,
                  filter.mac.c_str());
    monitoring::AddCredentialMembers(body, filter.mac, "ClientCountMonitor");
  }
  monitoring::Add(devices, json_key::kDeviceClientCountAll, TotalsObject(totals));
  monitoring::Add(body, json_key::kDevicesClientCounts, std::move(devices));
}
