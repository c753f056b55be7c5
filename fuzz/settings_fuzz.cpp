#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/require.h"
#include "probe/settings/settings.h"
#include "probe/text/utf8.h"

using fuzzing::Require;

namespace {

/// A configuration may name files, which are opened then: none of this machine's are to be.
bool MayNameAFile(std::string_view text) {
  return text.find("file") != std::string_view::npos || text.find('/') != std::string_view::npos ||
         text.find('\\') != std::string_view::npos;
}

}  // namespace

/// A configuration file gives settings, or a complaint in lines that a terminal shows as they are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (MayNameAFile(text)) return 0;
  try {
    const probe::Settings settings = probe::ParseSettings(text, "probe.toml");
    Require(settings.speed == 1 && settings.recording.path.empty());  // the command line's alone
  } catch (const probe::SettingsError& error) {
    const std::string complaint = error.what();
    Require(complaint.starts_with("probe.toml") && probe::IsUtf8(complaint));
    for (const char character : complaint) Require(static_cast<unsigned char>(character) >= ' ' || character == '\n');
  }
  return 0;
}
