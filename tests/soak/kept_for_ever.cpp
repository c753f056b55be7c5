#include "tests/soak/kept_for_ever.h"

#include <json-c/json.h>
#include <malloc.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/engine/view_chain.h"
#include "platform/topics.h"
#include "probe/host/device_centre.h"
#include "probe/text/json_c_handle.h"

extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace soak {
namespace {

/// Octets that a value takes beside itself, by making it.
template <typename Make>
std::size_t Taken(Make make) {
  const std::size_t before = LiveBytes();
  const auto made = make();
  const std::size_t after = LiveBytes();
  return after - before;
}

probe::JsonCHandle MessageOf(const char* view) {
  const auto registered = MonitoringManager::GetInstance().GetMonitor(monitoring::kClientCountMonitor);
  auto& monitor = dynamic_cast<ClientCountMonitor&>(*registered);
  Filter filter;
  filter.interval = view;
  return probe::JsonCHandle(
      json_tokener_parse(monitor.GenerateJsonMsg(monitoring::kDevicesClientCountMonitor, filter, {}).c_str()));
}

json_object* Member(json_object* object, const char* key) {
  json_object* member = nullptr;
  if (json_object_object_get_ex(object, key, &member) == 0) throw std::runtime_error(std::string("no ") + key);
  return member;
}

}  // namespace

std::size_t LiveBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

std::size_t KeptForEver::Bytes() const {
  return BytesOfSeries() + BytesOfPlaces();
}

KeptForEver::Views KeptForEver::Series() const {
  std::set<std::string> present;
  for (const std::uint64_t device : network_.Devices()) present.insert(Network::MacOf(device));
  Views series;
  for (const monitoring::ViewStep& step : monitoring::kViewChain) {
    const probe::JsonCHandle message = MessageOf(step.target);
    json_object* const shown = Member(Member(Member(message.get(), "data"), step.target), "devices_client_counts");
    json_object_object_foreach(shown, mac, samples) {
      if (present.contains(mac) || std::string(mac) == "device_client_count_all") continue;
      json_object_object_foreach(samples, minute, count) {
        monitoring::clientcount::SetSample(series[step.target][mac], std::atoi(minute),  // NOLINT(cert-err34-c): ours
                                           json_object_get_int(count));
      }
    }
    if (series[step.target].size() > network_.removed()) throw std::runtime_error("more devices than were removed");
  }
  return series;
}

std::size_t KeptForEver::BytesOfSeries() const {
  const Views shown = Series();
  std::size_t bytes = 0;
  for (const auto& view : shown) {
    bytes += Taken([&view] {
      monitoring::clientcount::SeriesById anew;
      for (const auto& [mac, series] : view.second) {
        for (const auto& [minute, count] : series) monitoring::clientcount::SetSample(anew[mac], minute, count);
      }
      return anew;
    });
  }
  return bytes;
}

std::size_t KeptForEver::BytesOfPlaces() const {
  const auto named = [](std::size_t devices) {
    return Taken([devices] {
      auto centre = std::make_unique<probe::DeviceCentre>();
      for (std::size_t device = 0; device < devices; ++device) centre->Name(Network::MacOf(device));
      return centre;
    });
  };
  return named(network_.removed() + network_.Devices().size()) - named(network_.Devices().size());
}

}  // namespace soak
