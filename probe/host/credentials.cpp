#include "platform/credentials.h"

#include "probe/host/device_centre.h"

json_object* DeviceCredentialResultGet(const std::string& mac) {
  const auto snapshot = probe::DeviceCentre::InForce().Snapshot(mac);
  if (snapshot == nullptr || snapshot->credential_json.empty()) return nullptr;
  return json_tokener_parse(snapshot->credential_json.c_str());
}
