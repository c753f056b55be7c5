#include "probe/recording/timezone_name.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace probe::recording {
namespace {

constexpr const char* kZones = "/usr/share/zoneinfo/";
constexpr const char* kSystemZone = "/etc/localtime";
constexpr const char* kDefault = "UTC";  // what the C library takes where nothing says otherwise
constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";

/// The zone's name for a file of the tz database. For any other file its path, which is no name of a zone.
std::string NameOfFile(const std::string& path) {
  std::error_code error;
  const std::string file = std::filesystem::canonical(path, error);
  if (error) return path;
  const std::string zones = std::filesystem::canonical(kZones, error);
  if (error) return path;
  return file.starts_with(zones + "/") ? file.substr(zones.size() + 1) : path;
}

/// The zone that TZ names or, without it, the system's setting. Source: tzset(3).
std::string ConfiguredName() {
  const char* const value = std::getenv("TZ");  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
  if (value == nullptr) return std::filesystem::exists(kSystemZone) ? NameOfFile(kSystemZone) : kDefault;
  const std::string name = *value == ':' ? value + 1 : value;
  if (name.empty()) return kDefault;
  return name.front() == '/' ? NameOfFile(name) : name;
}

}  // namespace

bool IsTimezoneName(const std::string& name) {
  if (name == kDefault) return true;
  // The last two may stand for another zone on each machine.
  if (name.empty() || name.front() == '/' || name.find_first_not_of(kLetters) != std::string::npos ||
      name == "localtime" || name == "posixrules") {
    return false;
  }
  // Source: RFC 8536, section 3.1 (the magic of a zone's file)
  std::ifstream file(kZones + name, std::ios::binary);
  std::string magic(4, ' ');
  return file.read(magic.data(), static_cast<std::streamsize>(magic.size())) && magic == "TZif";
}

std::string LocalTimezoneName() {
  std::string name = ConfiguredName();
  if (!IsTimezoneName(name)) {
    throw std::runtime_error("the local time zone, " + name + ", has no name that a recording can hold; set TZ to one");
  }
  return name;
}

}  // namespace probe::recording
