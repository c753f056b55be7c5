#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>

#include "fuzz/require.h"
#include "probe/recording/device_line_reader.h"
#include "probe/recording/device_state_reader.h"
#include "probe/recording/device_state_writer.h"
#include "probe/recording/json_object_reader.h"
#include "probe/recording/recording_line.h"

using fuzzing::Require;

namespace {

/// Reads, or refuses with a reason. Any other exception ends the run.
template <typename Read>
void ReadOrRefuse(Read read) {
  try {
    read();
  } catch (const probe::recording::MalformedRecording& refusal) {
    Require(refusal.what()[0] != '\0');
  }
}

/// Requires that a state which was read and written reads as the same again.
void RequireStable(const nlohmann::ordered_json& state) {
  const nlohmann::ordered_json written = probe::recording::StateOf(probe::recording::SnapshotOf(state));
  Require(probe::recording::StateOf(probe::recording::SnapshotOf(written)) == written);
}

}  // namespace

/// Requires that a device which is read straight from its line is what its state describes.
void RequireSameDevice(const std::string& text) {
  static probe::recording::DeviceLineReader reader;
  const auto device = reader.Read(text);
  if (!device) return;
  const probe::recording::Line line = probe::recording::ParseLine(text);
  const auto* set = std::get_if<probe::recording::SetDevice>(&line);
  Require(set != nullptr && set->mac == device->mac);
  Require(probe::recording::StateOf(probe::recording::SnapshotOf(set->state)) ==
          probe::recording::StateOf(device->snapshot));
}

/// The input as the first line of a recording, and as a later one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  ReadOrRefuse([&] { probe::recording::ParseHeader(text); });
  ReadOrRefuse([&] {
    const probe::recording::Line line = probe::recording::ParseLine(text);
    if (const auto* set = std::get_if<probe::recording::SetDevice>(&line)) RequireStable(set->state);
  });
  RequireSameDevice(text);
  return 0;
}
