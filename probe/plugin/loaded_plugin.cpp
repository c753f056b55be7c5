#include "probe/plugin/loaded_plugin.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "platform/contract_version.h"
#include "probe/plugin/loaded_contract.h"

namespace probe {
namespace {

/// Finds one entry point. `kind` is how error texts call it, `symbol` its name in the library.
template <typename Function>
void Find(void* library, const std::string& path, const char* name, const char* symbol, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, symbol));
  if (function == nullptr) throw std::runtime_error(path + " is not the monitoring plug-in: it has no " + name);
}

/// Throws for a plug-in that was built for another contract than ours.
void CheckContract(void* library, const std::string& path) {
  const auto version = ContractVersionOf(library);
  if (!version) throw std::runtime_error(path + " is not the monitoring plug-in: it names no version of the contract");
  if (*version == VEXORA_CONTRACT_VERSION) return;
  throw std::runtime_error(path + " was built for version " + std::to_string(*version) +
                           " of the contract; this probe speaks version " + std::to_string(VEXORA_CONTRACT_VERSION));
}

}  // namespace

LoadedPlugin::LoadedPlugin(const std::string& path) {
  if (path.empty()) throw std::runtime_error("the plug-in cannot be loaded: the name of its file is empty");
  // a name without a slash would be looked for in the folders of the system's libraries
  // RTLD_NOW, so that a symbol which this host lacks is missed here and not in the middle of a pass
  library_ = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) {
    const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own text
    throw std::runtime_error(std::string("the plug-in cannot be loaded: ") + reason);
  }
  try {
    FindEntryPoints(path);
    CheckContract(library_, path);
  } catch (...) {
    dlclose(library_);
    throw;
  }
}

LoadedPlugin::~LoadedPlugin() {
  dlclose(library_);
}

void LoadedPlugin::StartMonitors() const {
  if (RegisterMonitors() != 1) throw std::runtime_error("the plug-in has not started: it ran out of memory");
}

void LoadedPlugin::FindEntryPoints(const std::string& path) {
  // The last name of each line is the mangled one (Itanium C++ ABI); the two plain ones are their own.
  Find(library_, path, "RegisterMonitors", "RegisterMonitors", RegisterMonitors);
  Find(library_, path, "stop_monitor", "stop_monitor", stop_monitor);
  Find(library_, path, "get_wireless_client_report", "_Z26get_wireless_client_reportPKc", get_wireless_client_report);
  Find(library_, path, "get_wireless_client_report_avail_list", "_Z37get_wireless_client_report_avail_listPKc",
       get_wireless_client_report_avail_list);
  Find(library_, path, "get_wireless_network_report", "_Z27get_wireless_network_reportPKc",
       get_wireless_network_report);
  Find(library_, path, "get_wireless_network_report_avail_list", "_Z38get_wireless_network_report_avail_listPKc",
       get_wireless_network_report_avail_list);
  Find(library_, path, "GetInterfaceTraffic",
       "_Z19GetInterfaceTrafficNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_"
       "RSt3mapIS4_ySt4lessIS4_ESaISt4pairIKS4_yEEE",
       GetInterfaceTraffic);
}

std::string DefaultPluginPath() {
  std::error_code none;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", none);
  return (executable.parent_path().parent_path() / VEXORA_PLUGIN_DIR / "libmonitor.so").string();
}

}  // namespace probe
