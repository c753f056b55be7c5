#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/require.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitor.h"
#include "monitor/engine/monitoring_manager.h"

using fuzzing::Require;

namespace {

/// A report monitor that answers with the type and period of the request.
class EchoReport final : public Monitor {
 public:
  explicit EchoReport(const char* name) : name_(name) {}

  std::string GetMonitorName() override { return name_; }
  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string&, const std::string&, int, int) override {}
  std::string GetWirelessReport(const std::string& report_type, const std::string& period) override {
    return Answer(report_type, period);
  }

  static std::string Answer(const std::string& report_type, const std::string& period) {
    return report_type + "\n" + period;
  }

 private:
  const char* name_;
};

void RegisterBothReports() {
  MonitoringManager& manager = MonitoringManager::GetInstance();
  manager.RegisterMonitor(std::make_shared<EchoReport>(monitoring::kWirelessClientReport));
  manager.RegisterMonitor(std::make_shared<EchoReport>(monitoring::kWirelessNetworkReport));
}

/// The text as a C string: requests and answers of the entry points end at the first NUL.
std::string UpToNul(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

/// The text under `key`; empty when there is none.
std::string TextUnder(const nlohmann::json& request, const char* key) {
  const auto value = request.find(key);
  return value == request.end() || !value->is_string() ? "" : value->get<std::string>();
}

/// The request as a strict parser reads it. Discarded: a request that is not strictly JSON, which the plug-in's lenient
/// parser may read in any way, and one that may be too deep for it.
nlohmann::json StrictlyParsed(const std::string& request) {
  constexpr std::ptrdiff_t kSafeDepth = 30;
  const auto opening = std::count_if(request.begin(), request.end(), [](char c) { return c == '[' || c == '{'; });
  if (opening > kSafeDepth) return {nlohmann::json::value_t::discarded};
  return nlohmann::json::parse(request, nullptr, /*allow_exceptions=*/false);
}

void RequireAnswer(char* answer, const nlohmann::json& request) {
  Require(answer != nullptr);
  const std::string text = answer;
  std::free(answer);
  if (!request.is_object()) return;
  const std::string expected = EchoReport::Answer(TextUnder(request, "report_type"), TextUnder(request, "period"));
  Require(text == UpToNul(expected));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::once_flag registered;
  std::call_once(registered, RegisterBothReports);
  const std::string request = UpToNul(std::string(data, data + size));
  const nlohmann::json strict = StrictlyParsed(request);
  RequireAnswer(get_wireless_client_report(request.c_str()), strict);
  RequireAnswer(get_wireless_network_report(request.c_str()), strict);
  return 0;
}
