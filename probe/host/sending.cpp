#include "probe/host/sending.h"

#include <atomic>
#include <cstddef>

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

std::string compose_communication_struct(const char* name, json_object* body) {
  const probe::JsonCHandle envelope(json_object_new_object());
  if (envelope == nullptr) return {};
  json_object_object_add(envelope.get(), "name", json_object_new_string(name == nullptr ? "" : name));
  json_object_object_add(envelope.get(), "data",
                         json_object_get(body));  // one reference more: the body stays the caller's
  // With its length: a message may have megabytes.
  std::size_t length = 0;
  const char* text = json_object_to_json_string_length(envelope.get(), JSON_C_TO_STRING_SPACED, &length);
  return text == nullptr ? std::string() : probe::StrictJson(std::string(text, length));
}

}  // namespace kro_utilities::jsonobject
