#include "tests/support/host_calls/host_calls.h"

#include <memory>
#include <utility>

#include "platform/device_centre.h"

namespace records = vexora_probe::models::controller;

namespace {

thread_local const std::function<void()>* after_each = nullptr;

/// Calls the function, unless it is under way.
void Note() {
  const auto* const call = std::exchange(after_each, nullptr);
  if (call == nullptr) return;
  struct PutBack {
    const std::function<void()>* call;
    ~PutBack() { after_each = call; }
  } const put_back{call};  // also when it throws
  (*call)();
}

template <typename Answer>
Answer Noted(Answer answer) {
  Note();
  return answer;
}

/// A device of the host, whose answers are noted.
class NotedDevice final : public Device {
 public:
  explicit NotedDevice(std::shared_ptr<Device> device) : device_(std::move(device)) {}

  std::shared_ptr<Driver> driver() const override { return Noted(device_->driver()); }
  records::BasicInfo basic_info() const override { return Noted(device_->basic_info()); }
  records::InterfaceStates get_all_interfaces_state(time_t& sampled_at) const override {
    return Noted(device_->get_all_interfaces_state(sampled_at));
  }
  void get_ssid_interfaces_state(std::map<std::string, records::SSIDIfState>& states) const override {
    device_->get_ssid_interfaces_state(states);
    Note();
  }
  void get_radio_interfaces_state(std::map<std::string, records::RadioIfState>& states) const override {
    device_->get_radio_interfaces_state(states);
    Note();
  }
  void get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const override {
    device_->get_ssid_radio(interface, ssid, radio);
    Note();
  }
  void get_ssid_radio(const std::string& interface, std::string& radio_name) const override {
    device_->get_ssid_radio(interface, radio_name);
    Note();
  }
  time_t if_state_polling_time() const override { return Noted(device_->if_state_polling_time()); }
  std::map<std::string, records::PortalUser> portal_state() const override { return Noted(device_->portal_state()); }
  std::list<records::NeighboringAP> neighboring_ap_tbl() const override { return Noted(device_->neighboring_ap_tbl()); }
  records::HwResources hw_resources() const override { return Noted(device_->hw_resources()); }
  records::DeviceClock clock() const override { return Noted(device_->clock()); }
  records::HealthState health_state() const override { return Noted(device_->health_state()); }
  std::shared_ptr<const records::SSIDInterfaceStates> shared_ssid_interfaces_state() const override {
    return Noted(device_->shared_ssid_interfaces_state());
  }
  std::shared_ptr<const records::InterfaceStates> shared_interfaces_state(time_t& sampled_at) const override {
    return Noted(device_->shared_interfaces_state(sampled_at));
  }

 private:
  std::shared_ptr<Device> device_;
};

}  // namespace

// The linker leads the monitors' calls of X to __wrap_X, and the calls of __real_X here to the host's X. C knows no
// references: they are pointers for whoever calls (Itanium C++ ABI, 3.1.2).
extern "C" {
// NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier)
DeviceManager* __real__ZN13DeviceManager11GetInstanceEv();
DeviceManager* __wrap__ZN13DeviceManager11GetInstanceEv();
void __wrap__Z13pel_log_debugiPKcz(int module, const char* format, ...);
// NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier)
}

namespace {

/// The host's device manager, whose answers are noted.
class NotedManager final : public DeviceManager {
 public:
  std::vector<std::string> GetOnlineManagedDevices(bool online_only) override {
    return Noted(Host().GetOnlineManagedDevices(online_only));
  }
  std::shared_ptr<Device> device(const std::string& mac) override {
    auto device = Host().device(mac);
    Note();
    if (device == nullptr || after_each == nullptr) return device;
    return std::make_shared<NotedDevice>(std::move(device));
  }
  std::map<std::string, records::BasicInfo> GetDevicesBasicInfo(const std::string& mac, bool online_only) override {
    return Noted(Host().GetDevicesBasicInfo(mac, online_only));
  }
  std::map<std::string, records::PlatformInfo> GetDevicePlatformInfo(const std::string& mac,
                                                                     bool online_only) override {
    return Noted(Host().GetDevicePlatformInfo(mac, online_only));
  }

 private:
  static DeviceManager& Host() { return *__real__ZN13DeviceManager11GetInstanceEv(); }
};

}  // namespace

DeviceManager* __wrap__ZN13DeviceManager11GetInstanceEv() {
  static NotedManager manager;
  return &manager;
}

void __wrap__Z13pel_log_debugiPKcz(int /*module*/, const char* /*format*/, ...) {
  Note();
}

namespace test {

HostCalls::HostCalls(std::function<void()> after_each) : after_each_(std::move(after_each)) {
  ::after_each = &after_each_;
}

HostCalls::~HostCalls() {
  ::after_each = nullptr;
}

}  // namespace test
