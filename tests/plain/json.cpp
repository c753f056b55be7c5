#include "tests/plain/json.h"

#include "platform/credentials.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace plain {

json_object* Text(const std::string& text) {
  return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
}

json_object* Integer(std::int64_t value) {
  return json_object_new_int64(value);
}

json_object* Octets(std::uint64_t octets) {
  return json_object_new_int64(static_cast<std::int64_t>(octets));
}

json_object* Real(double value) {
  return json_object_new_double(value);
}

json_object* Boolean(bool value) {
  return json_object_new_boolean(value ? 1 : 0);
}

json_object* Texts(const std::vector<std::string>& texts) {
  json_object* array = json_object_new_array();
  for (const std::string& text : texts) Append(array, Text(text));
  return array;
}

void Add(json_object* object, const std::string& key, json_object* value) {
  json_object_object_add(object, key.c_str(), value);
}

void Append(json_object* array, json_object* value) {
  json_object_array_add(array, value);
}

json_object* Member(json_object* object, const char* key) {
  if (json_object_is_type(object, json_type_object) == 0) return nullptr;
  return json_object_object_get(object, key);
}

std::string TextOf(json_object* value) {
  return value == nullptr ? "" : json_object_get_string(value);
}

void AddCredentials(json_object* object, const std::string& mac, const char* monitor_class) {
  const Json result(DeviceCredentialResultGet(mac));
  if (json_object_is_type(result.get(), json_type_object) == 0) return;
  json_object_object_foreach(result.get(), key, value) {
    pel_log_debug(log_module::kMonitor, "DeviceCredentialResultGet %s mac %s,key is %s.", monitor_class, mac.c_str(),
                  key);
    Add(object, key, json_object_get(value));
  }
}

std::string Composed(const std::string& topic, json_object* body) {
  const Json owned(body);
  return kro_utilities::jsonobject::compose_communication_struct(topic.c_str(), body);
}

}  // namespace plain
