#include "monitor/engine/credential_members.h"

#include <memory>
#include <utility>

#include "monitor/engine/json_writer.h"
#include "platform/credentials.h"
#include "platform/logging.h"

namespace monitoring {

void AddCredentialMembers(const JsonTree& object, const std::string& mac, const char* monitor_class) {
  const JsonTree result(DeviceCredentialResultGet(mac));
  // Null, which the host gives when there is nothing to tell, is no object either.
  if (json_object_is_type(result.get(), json_type_object) == 0) return;
  json_object_object_foreach(result.get(), key, value) {
    pel_log_debug(log_module::kMonitor, "DeviceCredentialResultGet %s mac %s,key is %s.", monitor_class, mac.c_str(),
                  key);
    // As its text: the value may have a serialiser of the host's.
    auto text = std::make_shared<std::string>();
    AppendTree(*text, value);
    Add(object, std::string(key), SharedJson(std::move(text)));
  }
}

}  // namespace monitoring
