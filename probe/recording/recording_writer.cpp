#include "probe/recording/recording_writer.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "probe/recording/device_state_writer.h"
#include "probe/text/json_text.h"

namespace probe::recording {

using nlohmann::ordered_json;

void RecordingWriter::Line(const ordered_json& line) {
  stream_ << Dump(line) << '\n';
}

void RecordingWriter::Header(time_t start, const std::string& timezone) {
  Line({{"recording", 1}, {"start", start}, {"timezone", timezone}});
}

void RecordingWriter::Device(const std::string& mac, const DeviceSnapshot& snapshot) {
  ordered_json state = StateOf(snapshot);
  if (anonymiser_ != nullptr) anonymiser_->State(state);
  // by far the longest line: put together from texts, for a tree around the state would copy it
  stream_ << R"({"device":{"mac":)" << Dump(ordered_json(Mac(mac))) << R"(,"set":)" << Dump(state) << "}}\n";
}

void RecordingWriter::Forget(const std::string& mac) {
  Line({{"device", {{"mac", Mac(mac)}, {"forget", true}}}});
}

void RecordingWriter::CleanUp(const std::string& mac) {
  Line({{"cleanup", Mac(mac)}});
}

void RecordingWriter::Subscribe(const std::string& topic, const std::string& connection, const std::string& request) {
  ordered_json wanted = request.empty() ? ordered_json() : ordered_json::parse(request, nullptr, false);
  if (wanted.is_discarded()) wanted = nullptr;
  if (anonymiser_ != nullptr) anonymiser_->Request(wanted);
  Line({{"subscribe", {{"topic", topic}, {"connection", connection}, {"request", wanted}}}});
}

void RecordingWriter::Unsubscribe(const std::string& topic, const std::string& connection, const std::string& sid) {
  Line({{"unsubscribe", {{"topic", topic}, {"connection", connection}, {"sid", sid}}}});
}

void RecordingWriter::Disconnect(const std::string& connection) {
  Line({{"disconnect", connection}});
}

void RecordingWriter::Pass(time_t at) {
  Line({{"pass", {{"at", at}}}});
}

void RecordingWriter::Flush() {
  stream_.flush();
}

}  // namespace probe::recording
