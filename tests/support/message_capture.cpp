#include "tests/support/message_capture.h"

#include <utility>

#include "monitor/engine/json_tree.h"
#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/sending.h"

namespace test {
using utilities::lock::lock_guard;
namespace {

utilities::lock::Mutex sent_lock;
std::vector<SentMessage> sent VEXORA_GUARDED_BY(sent_lock);

void Keep(lws* connection, const std::string& text) {
  const lock_guard held(sent_lock);
  sent.push_back({connection, text});
}

json_object* At(json_object* object, const std::string& key) {
  json_object* value = nullptr;
  json_object_object_get_ex(object, key.c_str(), &value);
  return value;
}

std::vector<Sample> SamplesOf(json_object* interface) {
  std::vector<Sample> samples;
  json_object* traffic = At(interface, "traffic");
  for (std::size_t index = 0; traffic != nullptr && index < json_object_array_length(traffic); ++index) {
    json_object* sample = json_object_array_get_idx(traffic, index);
    samples.push_back({.minute = json_object_get_int64(At(sample, "time")),
                       .input = json_object_get_int64(At(sample, "input")),
                       .output = json_object_get_int64(At(sample, "output"))});
  }
  return samples;
}

}  // namespace

lws* Connection(std::uintptr_t number) {
  return probe::ToHandle(probe::ConnectionId{number});
}

std::shared_ptr<Filter> FilterOf(const std::string& interval, const std::string& mac) {
  auto filter = std::make_shared<Filter>();
  filter->interval = interval;
  filter->mac = mac;
  return filter;
}

std::ostream& operator<<(std::ostream& out, const SentMessage& message) {
  return out << "to " << message.connection << ": " << message.text;
}

std::ostream& operator<<(std::ostream& out, const Sample& sample) {
  return out << "{" << sample.minute << ", " << sample.input << ", " << sample.output << "}";
}

MessageCapture::MessageCapture() {
  Take();
  probe::InstallSendFunction(&Keep);
}

MessageCapture::~MessageCapture() {
  probe::InstallSendFunction(nullptr);
}

std::vector<SentMessage> MessageCapture::Take() {
  const lock_guard held(sent_lock);
  return std::exchange(sent, {});
}

std::map<std::string, std::vector<Sample>> SamplesIn(const std::string& message, const std::string& view,
                                                     const std::string& mac) {
  const monitoring::JsonTree envelope(json_tokener_parse(message.c_str()));
  std::map<std::string, std::vector<Sample>> interfaces;
  json_object* device = At(At(At(At(envelope.get(), "data"), view), "traffic_data"), mac);
  if (device == nullptr) return interfaces;
  json_object_object_foreach(device, name, interface) {
    if (json_object_is_type(At(interface, "traffic"), json_type_array) != 0) interfaces[name] = SamplesOf(interface);
  }
  return interfaces;
}

}  // namespace test
