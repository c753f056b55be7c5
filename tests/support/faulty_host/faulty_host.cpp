#include "tests/support/faulty_host/faulty_host.h"

#include <json-c/json.h>

#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "platform/configuration.h"
#include "platform/credentials.h"
#include "platform/device_centre.h"
#include "platform/event_centre.h"
#include "platform/logging.h"
#include "platform/sending.h"
#include "platform/subscriptions.h"
#include "platform/tasks.h"
#include "platform/utilities/json.h"
#include "platform/utilities/text.h"

namespace records = vexora_probe::models::controller;
using test::FaultKind;

namespace {

/// The fault that is asked for on this thread.
struct Asked {
  std::string call;
  FaultKind kind;
  std::function<void()> is_late;
  std::function<void(const std::string& mac)> is_gone;
  int hits = 0;
};
thread_local std::optional<Asked> asked;

thread_local std::optional<int> start_answer;  // the host runs no task when it has a value
thread_local std::vector<std::string> noted_start;

/// How an answer has to be wrong: null, empty or nonsense. What time or memory has to do with it is done here.
std::optional<FaultKind> FaultOf(const char* call, const std::string& mac) {
  if (!asked || asked->call != call || mac == test::kHealthyMac) return std::nullopt;
  ++asked->hits;
  switch (asked->kind) {
    case FaultKind::kError:
      throw std::bad_alloc();
    case FaultKind::kLate:
      asked->is_late();
      return std::nullopt;
    case FaultKind::kVanishing:
      asked->is_gone(mac);
      return std::nullopt;
    default:
      return asked->kind;
  }
}

/// The least number of a type and the greatest one, by turns.
template <typename Number>
Number Extreme() {
  static bool is_least = false;
  is_least = !is_least;
  return is_least ? std::numeric_limits<Number>::lowest() : std::numeric_limits<Number>::max();
}

std::string LongText() {
  return std::string(5'000, 'x');
}

/// An answer that has one empty form and one that makes no sense.
template <typename Answer>
Answer Answered(const char* call, const std::string& mac, Answer right, Answer empty, const Answer& nonsense) {
  const auto fault = FaultOf(call, mac);
  if (!fault) return right;
  return *fault == FaultKind::kNonsense ? nonsense : std::move(empty);
}

class FaultyDriver final : public Driver {
 public:
  FaultyDriver(std::string mac, std::shared_ptr<Driver> driver) : mac_(std::move(mac)), driver_(std::move(driver)) {}
  bool IsWirelessSupported() const override {
    return Answered("IsWirelessSupported", mac_, driver_->IsWirelessSupported(), false, Extreme<int>() > 0);
  }

 private:
  std::string mac_;
  std::shared_ptr<Driver> driver_;
};

std::shared_ptr<records::TrafficStats> NonsenseCounters() {
  return std::make_shared<records::TrafficStats>(records::TrafficStats{.if_index = Extreme<std::int32_t>(),
                                                                       .in_bytes = Extreme<std::uint64_t>(),
                                                                       .out_bytes = Extreme<std::uint64_t>()});
}

/// A device of the host, of which one answer is wrong. It leaves the shared records to the contract, which makes them
/// of the answers here.
class FaultyDevice final : public Device {
 public:
  FaultyDevice(std::string mac, std::shared_ptr<Device> device) : mac_(std::move(mac)), device_(std::move(device)) {}

  std::shared_ptr<Driver> driver() const override {
    auto driver = device_->driver();
    if (FaultOf("driver", mac_) || driver == nullptr) return nullptr;
    return std::make_shared<FaultyDriver>(mac_, std::move(driver));
  }
  records::BasicInfo basic_info() const override {
    return Answered<records::BasicInfo>("basic_info", mac_, device_->basic_info(), {},
                                        {.mac = LongText(),
                                         .hostname = LongText(),
                                         .ip = LongText(),
                                         .type = static_cast<records::DeviceType>(Extreme<std::int32_t>())});
  }
  records::InterfaceStates get_all_interfaces_state(time_t& sampled_at) const override {
    auto states = device_->get_all_interfaces_state(sampled_at);
    const auto fault = FaultOf("get_all_interfaces_state", mac_);
    if (fault == FaultKind::kEmpty) states.clear();
    if (fault == FaultKind::kNull) {
      for (auto& [name, state] : states) state = nullptr;
      states["without statistics"] = std::make_shared<records::InterfaceState>();
    }
    if (fault == FaultKind::kNonsense) {
      sampled_at = Extreme<time_t>();
      for (auto& [name, state] : states) {
        state = std::make_shared<records::InterfaceState>(
            records::InterfaceState{.oper_status = 1, .traffic = NonsenseCounters()});
      }
      states[""] = std::make_shared<records::InterfaceState>(
          records::InterfaceState{.oper_status = Extreme<std::int32_t>(), .traffic = NonsenseCounters()});
      states[LongText()] = states.begin()->second;
    }
    return states;
  }
  void get_ssid_interfaces_state(std::map<std::string, records::SSIDIfState>& states) const override {
    device_->get_ssid_interfaces_state(states);
    const auto fault = FaultOf("get_ssid_interfaces_state", mac_);
    if (fault == FaultKind::kEmpty) states.clear();
    for (auto& [name, state] : states) {
      if (fault == FaultKind::kNull) state.traffic = nullptr;
      if (fault != FaultKind::kNonsense) continue;
      state.traffic = NonsenseCounters();
      state.client_count = Extreme<std::int32_t>();
      for (auto& client : state.clients) {
        client.mac = Extreme<int>() > 0 ? LongText() : "";
        client.mode = static_cast<records::WIFIOpMode>(Extreme<std::int32_t>());
        client.data_rate = Extreme<std::int32_t>();
        client.in_bytes = client.out_bytes = Extreme<std::uint64_t>();
      }
    }
  }
  void get_radio_interfaces_state(std::map<std::string, records::RadioIfState>& states) const override {
    device_->get_radio_interfaces_state(states);
    const auto fault = FaultOf("get_radio_interfaces_state", mac_);
    if (fault == FaultKind::kEmpty) states.clear();
    if (fault != FaultKind::kNonsense) return;
    for (auto& [name, state] : states) state.band = static_cast<records::WIFIBandType>(Extreme<std::int32_t>());
  }
  void get_ssid_radio(const std::string& interface, std::string& ssid, int& radio) const override {
    device_->get_ssid_radio(interface, ssid, radio);
    const auto fault = FaultOf("get_ssid_radio", mac_);
    if (!fault) return;
    ssid = fault == FaultKind::kNonsense ? LongText() : "";
    radio = fault == FaultKind::kNonsense ? Extreme<int>() : -1;
  }
  void get_ssid_radio(const std::string& interface, std::string& radio_name) const override {
    device_->get_ssid_radio(interface, radio_name);
    const auto fault = FaultOf("get_ssid_radio (name)", mac_);
    if (fault) radio_name = fault == FaultKind::kNonsense ? LongText() : "";
  }
  time_t if_state_polling_time() const override {
    return Answered<time_t>("if_state_polling_time", mac_, device_->if_state_polling_time(), 0, Extreme<time_t>());
  }
  std::map<std::string, records::PortalUser> portal_state() const override {
    auto users = device_->portal_state();
    const auto fault = FaultOf("portal_state", mac_);
    if (fault == FaultKind::kEmpty) users.clear();
    if (fault == FaultKind::kNonsense) {
      for (auto& [mac, user] : users) {
        user = {.username = LongText(),
                .hostname = LongText(),
                .in_bytes = Extreme<std::uint64_t>(),
                .out_bytes = Extreme<std::uint64_t>()};
      }
      users[""] = {};
    }
    return users;
  }
  std::list<records::NeighboringAP> neighboring_ap_tbl() const override {
    const std::list<records::NeighboringAP> nonsense(3, {.mac = "",
                                                         .ssid = LongText(),
                                                         .trusted = 0,
                                                         .band = static_cast<records::WIFIBandType>(Extreme<int>()),
                                                         .channel = Extreme<std::int32_t>(),
                                                         .signal = Extreme<std::int32_t>()});
    return Answered<std::list<records::NeighboringAP>>("neighboring_ap_tbl", mac_, device_->neighboring_ap_tbl(), {},
                                                       nonsense);
  }
  records::HwResources hw_resources() const override {
    return Answered<records::HwResources>("hw_resources", mac_, device_->hw_resources(), {},
                                          {.cpu = Extreme<std::int32_t>()});
  }
  records::DeviceClock clock() const override {
    return Answered<records::DeviceClock>("clock", mac_, device_->clock(), {}, {.uptime = Extreme<std::int32_t>()});
  }
  records::HealthState health_state() const override {
    return Answered<records::HealthState>("health_state", mac_, device_->health_state(), {},
                                          {.level = Extreme<std::int32_t>()});
  }

 private:
  std::string mac_;
  std::shared_ptr<Device> device_;
};

/// The configuration of a router or access point.
template <typename Configuration>
class FaultyConfiguration final : public Configuration {
 public:
  FaultyConfiguration(const char* call, std::string mac, std::shared_ptr<Configuration> configuration)
      : call_(call), mac_(std::move(mac)), configuration_(std::move(configuration)) {}
  void GetSSIDCfg(SSIDConfigurations& configurations) const override {
    configuration_->GetSSIDCfg(configurations);
    const auto fault = FaultOf(call_, mac_);
    if (fault == FaultKind::kEmpty) configurations.clear();
    if (fault != FaultKind::kNonsense) return;
    for (auto& [key, configuration] : configurations) {
      configuration = {.name = LongText(),
                       .security_mode = static_cast<records::SecModeType>(Extreme<std::int32_t>()),
                       .guest = Extreme<int>() > 0};
    }
    configurations["@"] = {};
    configurations[LongText()] = {};
  }

 private:
  const char* call_;
  std::string mac_;
  std::shared_ptr<Configuration> configuration_;
};

}  // namespace

namespace wrapped {
// The linker leads the monitors' calls of X to __wrap_X, and the calls of __real_X here to the host's X.
DeviceManager& HostDevices() __asm__("__real__ZN13DeviceManager11GetInstanceEv");
RouterManager& HostRouters() __asm__("__real__ZN13RouterManager11GetInstanceEv");
APManager& HostAccessPoints() __asm__("__real__ZN9APManager11GetInstanceEv");
subscribes::SubscribesManager& HostSubscriptions() __asm__("__real__ZN10subscribes17SubscribesManager11GetInstanceEv");

}  // namespace wrapped

namespace {

class FaultyDeviceManager final : public DeviceManager {
 public:
  std::vector<std::string> GetOnlineManagedDevices(bool online_only) override {
    auto macs = wrapped::HostDevices().GetOnlineManagedDevices(online_only);
    const auto fault = FaultOf("GetOnlineManagedDevices", "");
    if (fault == FaultKind::kEmpty) macs.clear();
    if (fault == FaultKind::kNonsense) {
      macs.insert(macs.end(), {"", "no such device", LongText(), "no such device"});
      macs.push_back(macs.front());
    }
    return macs;
  }
  std::shared_ptr<Device> device(const std::string& mac) override {
    auto device = wrapped::HostDevices().device(mac);
    if (FaultOf("device", mac) || device == nullptr) return nullptr;
    return std::make_shared<FaultyDevice>(mac, std::move(device));
  }
  std::map<std::string, records::BasicInfo> GetDevicesBasicInfo(const std::string& mac, bool online_only) override {
    return Answered<std::map<std::string, records::BasicInfo>>(
        "GetDevicesBasicInfo", mac, wrapped::HostDevices().GetDevicesBasicInfo(mac, online_only), {},
        {{"", {}}, {mac, {.mac = "", .hostname = LongText(), .ip = "", .type = records::DeviceType{-1}}}});
  }
  std::map<std::string, records::PlatformInfo> GetDevicePlatformInfo(const std::string& mac,
                                                                     bool online_only) override {
    return Answered<std::map<std::string, records::PlatformInfo>>(
        "GetDevicePlatformInfo", mac, wrapped::HostDevices().GetDevicePlatformInfo(mac, online_only), {},
        {{LongText(), {.model = LongText(), .version = LongText()}}});
  }
};

class FaultyRouterManager final : public RouterManager {
 public:
  std::shared_ptr<RouterConfig> GetRouterConfig(const std::string& mac) override {
    auto configuration = wrapped::HostRouters().GetRouterConfig(mac);
    if (FaultOf("GetRouterConfig", mac) || configuration == nullptr) return nullptr;
    return std::make_shared<FaultyConfiguration<RouterConfig>>("RouterConfig::GetSSIDCfg", mac,
                                                               std::move(configuration));
  }
};

class FaultyAPManager final : public APManager {
 public:
  std::shared_ptr<APConfig> GetAPConfig(const std::string& mac) override {
    auto configuration = wrapped::HostAccessPoints().GetAPConfig(mac);
    if (FaultOf("GetAPConfig", mac) || configuration == nullptr) return nullptr;
    return std::make_shared<FaultyConfiguration<APConfig>>("APConfig::GetSSIDCfg", mac, std::move(configuration));
  }
};

class FaultySubscriptions final : public subscribes::SubscribesManager {
 public:
  void AddSubscriber(const std::string& topic, std::shared_ptr<subscribes::Subscriber> subscriber) override {
    static_cast<void>(FaultOf("AddSubscriber", ""));
    if (start_answer) noted_start.push_back(topic);
    wrapped::HostSubscriptions().AddSubscriber(topic, std::move(subscriber));
  }
  subscribes::SubscriptionList GetSubscribeList(const std::string& topic) override {
    auto list = wrapped::HostSubscriptions().GetSubscribeList(topic);
    const auto fault = FaultOf("GetSubscribeList", "");
    if (fault == FaultKind::kEmpty) list.clear();
    for (auto& [sid, connections] : list) {
      if (fault != FaultKind::kNull) break;
      for (auto& [connection, filter] : connections) filter = nullptr;
      connections[nullptr] = nullptr;
    }
    if (fault == FaultKind::kNonsense && !list.empty()) list[LongText()] = list.begin()->second;
    return list;
  }
};

const std::vector<FaultKind> kValue{FaultKind::kEmpty, FaultKind::kError, FaultKind::kLate, FaultKind::kVanishing,
                                    FaultKind::kNonsense};
const std::vector<FaultKind> kPointer{FaultKind::kNull, FaultKind::kError, FaultKind::kLate, FaultKind::kVanishing};
const std::vector<FaultKind> kEvery{FaultKind::kNull, FaultKind::kEmpty,     FaultKind::kError,
                                    FaultKind::kLate, FaultKind::kVanishing, FaultKind::kNonsense};
const std::vector<FaultKind> kNeverFails{FaultKind::kNull, FaultKind::kEmpty, FaultKind::kLate, FaultKind::kVanishing,
                                         FaultKind::kNonsense};
const std::vector<FaultKind> kArithmetic{FaultKind::kLate, FaultKind::kVanishing, FaultKind::kNonsense};

}  // namespace

// By their mangled names, for a declaration of C may not have these types (Itanium C++ ABI, 5.1).
namespace wrapped {
DeviceManager& Devices() __asm__("__wrap__ZN13DeviceManager11GetInstanceEv");
RouterManager& Routers() __asm__("__wrap__ZN13RouterManager11GetInstanceEv");
APManager& AccessPoints() __asm__("__wrap__ZN9APManager11GetInstanceEv");
subscribes::SubscribesManager& Subscriptions() __asm__("__wrap__ZN10subscribes17SubscribesManager11GetInstanceEv");
#define VEXORA_TEXT "RKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
vexora_probe::evcenter::Summary Summary(const std::string& mac) __asm__(
    "__wrap__ZN12vexora_probe9inventory33GetDeviceHealthTargetStateSummaryE" VEXORA_TEXT);
vexora_probe::evcenter::Summary HostSummary(const std::string& mac) __asm__(
    "__real__ZN12vexora_probe9inventory33GetDeviceHealthTargetStateSummaryE" VEXORA_TEXT);
json_object* Credential(const std::string& mac) __asm__("__wrap__Z25DeviceCredentialResultGet" VEXORA_TEXT);
json_object* HostCredential(const std::string& mac) __asm__("__real__Z25DeviceCredentialResultGet" VEXORA_TEXT);
SalSendByCon SendFunction() __asm__("__wrap__Z15GetSalSendByConB5cxx11v");
SalSendByCon HostSendFunction() __asm__("__real__Z15GetSalSendByConB5cxx11v");
std::string Composed(const char* name, json_object* body) __asm__(
    "__wrap__ZN13kro_utilities10jsonobject28compose_communication_structB5cxx11EPKcP11json_object");
std::string HostComposed(const char* name, json_object* body) __asm__(
    "__real__ZN13kro_utilities10jsonobject28compose_communication_structB5cxx11EPKcP11json_object");
char* Copied(const char* text) __asm__("__wrap__Z6StrdupPKc");
char* HostCopied(const char* text) __asm__("__real__Z6StrdupPKc");
std::string Value(json_object* object,
                  const char* key) __asm__("__wrap__Z19get_value_by_key_exB5cxx11P11json_objectPKc");
std::string HostValue(json_object* object,
                      const char* key) __asm__("__real__Z19get_value_by_key_exB5cxx11P11json_objectPKc");
std::string Mac(const std::string& mac) __asm__("__wrap__Z17format_macaddress" VEXORA_TEXT);
std::string HostMac(const std::string& mac) __asm__("__real__Z17format_macaddress" VEXORA_TEXT);
bool IsInteger(const std::string& text) __asm__("__wrap__ZN13kro_utilities10string_con9IsIntegerE" VEXORA_TEXT);
bool IsIntegerOfHost(const std::string& text) __asm__("__real__ZN13kro_utilities10string_con9IsIntegerE" VEXORA_TEXT);
double Milliwatts(double dbm) __asm__("__wrap__ZN13kro_utilities6signal22ConvertdBmTomilliwattsEd");
double HostMilliwatts(double dbm) __asm__("__real__ZN13kro_utilities6signal22ConvertdBmTomilliwattsEd");
double Dbm(double milliwatts) __asm__("__wrap__ZN13kro_utilities6signal22ConvertmilliwattsTodBmEd");
double HostDbm(double milliwatts) __asm__("__real__ZN13kro_utilities6signal22ConvertmilliwattsTodBmEd");
std::string TypeName(records::DeviceType type) __asm__(
    "__wrap__ZN13DeviceManager16GetDeviceTypeStrB5cxx11EN12vexora_probe6models10controller10DeviceTypeE");
std::string HostTypeName(records::DeviceType type) __asm__(
    "__real__ZN13DeviceManager16GetDeviceTypeStrB5cxx11EN12vexora_probe6models10controller10DeviceTypeE");
int StartTask(std::shared_ptr<Task> task) __asm__("__wrap__ZN12task_manager9StartTaskESt10shared_ptrI4TaskE");
int HostStartTask(std::shared_ptr<Task> task) __asm__("__real__ZN12task_manager9StartTaskESt10shared_ptrI4TaskE");
void RegisterCleanup(MonitorMemoryCleanup cleanup) __asm__("__wrap__Z28RegisterMonitorMemoryCleanupPFv" VEXORA_TEXT
                                                           "E");
void HostRegisterCleanup(MonitorMemoryCleanup cleanup) __asm__("__real__Z28RegisterMonitorMemoryCleanupPFv" VEXORA_TEXT
                                                               "E");
void LogDebug(int module, const char* format, ...) __asm__("__wrap__Z13pel_log_debugiPKcz");
#undef VEXORA_TEXT

DeviceManager& Devices() {
  static FaultyDeviceManager manager;
  return manager;
}

RouterManager& Routers() {
  static FaultyRouterManager manager;
  return manager;
}

APManager& AccessPoints() {
  static FaultyAPManager manager;
  return manager;
}

subscribes::SubscribesManager& Subscriptions() {
  static FaultySubscriptions subscriptions;
  return subscriptions;
}

vexora_probe::evcenter::Summary Summary(const std::string& mac) {
  return Answered<vexora_probe::evcenter::Summary>(
      "GetDeviceHealthTargetStateSummary", mac, HostSummary(mac), {},
      {.info = Extreme<std::int32_t>(), .warning = Extreme<std::int32_t>(), .alert = Extreme<std::int32_t>()});
}

json_object* Credential(const std::string& mac) {
  const auto fault = FaultOf("DeviceCredentialResultGet", mac);
  if (fault == FaultKind::kNull) return nullptr;
  if (fault == FaultKind::kEmpty) return json_object_new_object();
  if (fault == FaultKind::kNonsense) return json_object_new_double(std::numeric_limits<double>::infinity());
  return HostCredential(mac);
}

SalSendByCon SendFunction() {
  return FaultOf("GetSalSendByCon", "") ? nullptr : HostSendFunction();
}

std::string Composed(const char* name, json_object* body) {
  return FaultOf("compose_communication_struct", "") ? "" : HostComposed(name, body);
}

char* Copied(const char* text) {
  return FaultOf("Strdup", "") ? nullptr : HostCopied(text);
}

std::string Value(json_object* object, const char* key) {
  return Answered<std::string>("get_value_by_key_ex", "", HostValue(object, key), "", LongText());
}

std::string Mac(const std::string& mac) {
  return Answered<std::string>("format_macaddress", "", HostMac(mac), "", LongText());
}

bool IsInteger(const std::string& text) {
  return Answered("IsInteger", "", IsIntegerOfHost(text), false, Extreme<int>() > 0);
}

double Milliwatts(double dbm) {
  static int turn = 0;
  using Limits = std::numeric_limits<double>;
  const double nonsense[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max()};
  return Answered("ConvertdBmTomilliwatts", "", HostMilliwatts(dbm), 0.0, nonsense[turn++ % 4]);
}

double Dbm(double milliwatts) {
  static int turn = 0;
  using Limits = std::numeric_limits<double>;
  const double nonsense[] = {-Limits::infinity(), Limits::quiet_NaN(), Limits::lowest(), Limits::infinity()};
  return Answered("ConvertmilliwattsTodBm", "", HostDbm(milliwatts), 0.0, nonsense[turn++ % 4]);
}

std::string TypeName(records::DeviceType type) {
  return Answered<std::string>("GetDeviceTypeStr", "", HostTypeName(type), "", LongText());
}

int StartTask(std::shared_ptr<Task> task) {
  if (!start_answer) return HostStartTask(std::move(task));
  noted_start.emplace_back("start");
  return *start_answer;
}

void RegisterCleanup(MonitorMemoryCleanup cleanup) {
  if (start_answer) noted_start.emplace_back("clean-up");
  HostRegisterCleanup(cleanup);
}

void LogDebug(int /*module*/, const char* /*format*/, ...) {
  static_cast<void>(FaultOf("pel_log_debug", ""));
}

}  // namespace wrapped

namespace test {

const std::vector<FaultyCall>& FaultyCalls() {
  static const std::vector<FaultyCall> calls{
      {"GetOnlineManagedDevices", kValue, false},
      {"device", kPointer},
      {"GetDevicesBasicInfo", kValue},
      {"GetDevicePlatformInfo", kValue},
      {"GetDeviceTypeStr", kValue, false},
      {"driver", kPointer},
      {"IsWirelessSupported", kValue},
      {"basic_info", kValue},
      {"get_all_interfaces_state", kEvery},
      {"get_ssid_interfaces_state", kEvery},
      {"get_radio_interfaces_state", kValue},
      {"get_ssid_radio", kValue},
      {"get_ssid_radio (name)", kValue},
      {"if_state_polling_time", kValue},
      {"portal_state", kValue},
      {"neighboring_ap_tbl", kValue},
      {"hw_resources", kValue},
      {"clock", kValue},
      {"health_state", kValue},
      {"GetRouterConfig", kPointer},
      {"RouterConfig::GetSSIDCfg", kValue},
      {"GetAPConfig", kPointer},
      {"APConfig::GetSSIDCfg", kValue},
      {"GetDeviceHealthTargetStateSummary", kValue},
      {"DeviceCredentialResultGet", kNeverFails},
      {"GetSubscribeList", kEvery, false},
      {"GetSalSendByCon", {FaultKind::kNull, FaultKind::kLate, FaultKind::kVanishing}, false},
      {"compose_communication_struct", {FaultKind::kEmpty, FaultKind::kLate, FaultKind::kVanishing}, false},
      {"Strdup", {FaultKind::kNull, FaultKind::kLate, FaultKind::kVanishing}, false},
      {"get_value_by_key_ex", kValue, false},
      {"format_macaddress", kValue, false},
      {"IsInteger", kValue, false},
      {"ConvertdBmTomilliwatts", kArithmetic, false},
      {"ConvertmilliwattsTodBm", kArithmetic, false},
      {"pel_log_debug", {FaultKind::kError, FaultKind::kLate, FaultKind::kVanishing}, false},
  };
  return calls;
}

const char* NameOf(FaultKind kind) {
  switch (kind) {
    case FaultKind::kNull:
      return "null";
    case FaultKind::kEmpty:
      return "empty";
    case FaultKind::kError:
      return "error";
    case FaultKind::kLate:
      return "late";
    case FaultKind::kVanishing:
      return "vanishing";
    case FaultKind::kNonsense:
      return "nonsense";
  }
  return "";
}

HostFault::HostFault(std::string call, FaultKind kind, std::function<void()> is_late,
                     std::function<void(const std::string& mac)> is_gone) {
  asked = Asked{.call = std::move(call), .kind = kind, .is_late = std::move(is_late), .is_gone = std::move(is_gone)};
}

HostFault::~HostFault() {
  asked.reset();
}

int HostFault::hits() const {
  return asked->hits;
}

NotedStart::NotedStart(int answer) {
  start_answer = answer;
  noted_start.clear();
}

NotedStart::~NotedStart() {
  start_answer.reset();
}

const std::vector<std::string>& NotedStart::Noted() {
  return noted_start;
}

}  // namespace test
