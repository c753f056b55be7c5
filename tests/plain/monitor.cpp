#include "tests/plain/monitor.h"

#include "platform/logging.h"
#include "platform/sending.h"
#include "tests/plain/json.h"

namespace plain {
namespace {

constexpr time_t kDaySeconds = 86'400;

/// A text for which the buffer is too short is empty.
std::string Formatted(time_t time, const char* format, std::size_t buffer_size) {
  const tm local = LocalTime(time);
  std::vector<char> text(buffer_size);
  return {text.data(), strftime(text.data(), text.size(), format, &local)};
}

}  // namespace

void Monitor::Pass(time_t now) {
  now_ = now;
  Collect();
  Fold();
  Push(subscribes::SubscribesManager::GetInstance().GetSubscribeList(Name()));
}

subscribes::ParsedRequest Monitor::ParseRequest(json_object* request) const {
  if (request == nullptr) {
    pel_log_error(log_module::kMonitor, "[Monitor::FilterParser] Parameter is invalid");
    return {};
  }
  return ParseElements(request, [](json_object* wanted) {
    auto filter = std::make_shared<Filter>();
    filter->interval = TextOf(Member(wanted, "interval"));
    filter->mac = TextOf(Member(wanted, "mac"));
    return filter;
  });
}

subscribes::ParsedRequest ParseElements(json_object* request,
                                        const std::function<std::shared_ptr<Filter>(json_object*)>& parse) {
  subscribes::ParsedRequest parsed;
  if (json_object_is_type(request, json_type_array) == 0) return parsed;
  for (std::size_t index = 0; index < json_object_array_length(request); ++index) {
    json_object* element = json_object_array_get_idx(request, index);
    parsed[TextOf(Member(element, "sid"))] = parse(Member(element, "filter"));
  }
  return parsed;
}

std::int64_t Minute(time_t time) {
  return std::int64_t{time} / 60;
}

tm LocalTime(time_t time) {
  tm local{};
  return localtime_r(&time, &local) == nullptr ? tm{} : local;
}

std::string DayKey(time_t time) {
  return Formatted(time, "%Y-%m-%d", sizeof "2026-11-15/");
}

std::string DateTime(time_t time) {
  return Formatted(time, "%F %T", sizeof "2026-11-15 07:14:35");
}

std::string WeekKey(time_t time) {
  const int weekday = LocalTime(time).tm_wday;
  return DayKey(time - kDaySeconds * weekday) + "/" + DayKey(time + kDaySeconds * (6 - weekday));
}

std::shared_ptr<Device> DeviceWithDriver(const std::string& mac) {
  auto device = DeviceManager::GetInstance().device(mac);
  return device == nullptr || device->driver() == nullptr ? nullptr : device;
}

std::shared_ptr<Device> WirelessDevice(const std::string& mac) {
  auto device = DeviceWithDriver(mac);
  return device == nullptr || !device->driver()->IsWirelessSupported() ? nullptr : device;
}

std::string DeviceName(const std::string& mac) {
  const auto device = DeviceManager::GetInstance().device(mac);
  return device == nullptr ? "" : device->basic_info().hostname;
}

Groups GroupByFilter(const subscribes::SubscriptionList& subscriptions,
                     const std::function<bool(const Filter&, const Filter&)>& are_equal) {
  Groups groups;
  for (const auto& [sid, connections] : subscriptions) {
    for (const auto& [connection, filter] : connections) {
      if (filter == nullptr) continue;
      bool is_grouped = false;
      for (auto& [first, group] : groups) {
        if (!are_equal(*first, *filter)) continue;
        group[connection].push_back(sid);
        is_grouped = true;
      }
      if (!is_grouped) groups[filter.get()][connection].push_back(sid);
    }
  }
  return groups;
}

Groups GroupByFilter(const subscribes::SubscriptionList& subscriptions) {
  return GroupByFilter(subscriptions, [](const Filter& left, const Filter& right) {
    return left.interval == right.interval && left.mac == right.mac;
  });
}

void Send(lws* connection, const std::string& message) {
  const SalSendByCon send = GetSalSendByCon();
  if (send != nullptr) send(connection, message);
}

}  // namespace plain
