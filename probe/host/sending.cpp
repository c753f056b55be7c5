#include "probe/host/sending.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <utility>

#include "probe/text/json_c_handle.h"
#include "probe/text/strict_json.h"

namespace {
// Atomic in place of a lock: the engine asks for it once for each message.
std::atomic<SalSendByCon> installed{nullptr};
}  // namespace

SalSendByCon GetSalSendByCon() {
  return installed.load();
}

void probe::InstallSendFunction(SalSendByCon send) {
  installed.store(send);
}

namespace kro_utilities::jsonobject {

constexpr std::size_t kEnvelope = 32;  // room for what stands around name and body

std::string compose_communication_struct(const char* name, json_object* body) {
  const probe::JsonCHandle topic(json_object_new_string(name == nullptr ? "" : name));
  const char* quoted = topic == nullptr ? nullptr : json_object_to_json_string(topic.get());
  // With its length: a message may have megabytes.
  std::size_t length = 0;
  const char* text = json_object_to_json_string_length(body, JSON_C_TO_STRING_SPACED, &length);
  if (quoted == nullptr || text == nullptr) return {};
  std::string message;
  message.reserve(length + std::strlen(quoted) + kEnvelope);
  message.append("{ \"name\": ").append(quoted).append(", \"data\": ").append(text, length).append(" }");
  return probe::StrictJson(std::move(message));
}

}  // namespace kro_utilities::jsonobject
