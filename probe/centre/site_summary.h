#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace probe::centre {

/// How a site fares, for the list of all of them; the greater, the worse.
enum class SiteLevel { kGood, kFair, kBad, kAway };
inline constexpr std::array kSiteLevels{SiteLevel::kGood, SiteLevel::kFair, SiteLevel::kBad, SiteLevel::kAway};

/// As the list of the sites has it: "good", "fair", "bad", "away".
const char* NameOf(SiteLevel level);

/// A device or a client, as a search finds it.
struct Findable {
  bool is_client = false;
  std::string mac;
  std::string name;
  std::string address;  ///< IP address of a device; empty for a client.
  std::string place;    ///< Model of a device; of a client the name of the device at which it is.
  std::string ssid;     ///< Of a client.
  std::string user;     ///< Name of a client at the captive portal; empty: none.
  bool is_online = true;
};

/// What the newest texts of a site say of it. What no text says is 0 or empty.
struct SiteSummary {
  std::string name;
  time_t heard = 0;  ///< Of when its newest text tells.
  std::size_t devices = 0;
  std::size_t offline = 0;
  std::size_t bad = 0;   ///< Devices of the level bad, by the probe's judgement.
  std::size_t fair = 0;  ///< Likewise.
  std::size_t clients = 0;
  std::uint64_t alerts = 0;
  std::uint64_t warnings = 0;
  std::string version;  ///< Of the probe.
  /// Devices, and clients, of one site that are listed, and octets of each text of them, so that no site can fill the
  /// memory. A probe has fewer.
  static constexpr std::size_t kMaxListed = 20'000;
  static constexpr std::size_t kMaxOctets = 256;

  std::shared_ptr<const std::vector<Findable>> listed_devices = std::make_shared<const std::vector<Findable>>();
  std::shared_ptr<const std::vector<Findable>> listed_clients = std::make_shared<const std::vector<Findable>>();

  /// A site of which nothing has been heard for so long is away. Three passes, as the probe's own page has it.
  static constexpr time_t kAwayAfter = 180;

  bool IsAway(time_t now) const { return now - heard > kAwayAfter; }
  SiteLevel Level(time_t now) const;

  /// Takes over what a text of this topic says, and drops what the one before said. Texts that are not as their topic's
  /// schema has it say nothing.
  void Take(const std::string& topic, const std::string& text);

 private:
  void TakeDevices(const nlohmann::json& tree);
  void TakeClients(const nlohmann::json& tree);
  void TakeHealth(const nlohmann::json& tree);
};

/// Whether a search for this text, which is in lower case, finds it: in one of its names or addresses.
bool IsFound(const Findable& one, const std::string& wanted);

}  // namespace probe::centre
