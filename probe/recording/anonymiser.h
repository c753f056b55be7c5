#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <vector>

namespace probe::recording {

/// Texts and what stands in their place, one to one.
class Replacements {
 public:
  /// What stands for `text`; an empty text stays empty. The first time it is `propose(number)`, where the number
  /// counts the texts from 1, with a further number behind it when another text has that already.
  std::string Of(const std::string& text, const std::function<std::string(std::size_t number)>& propose);

 private:
  std::map<std::string, std::string> replacements_;
  std::set<std::string> taken_;
};

/// Replaces in a recording what tells whose network it is: MACs, the names of devices, clients and users, SSIDs and IP
/// addresses, one to one, so that a replay does the same with it. Equal texts get equal replacements in all lines.
///
/// What stays: models, versions, counters, times, the state of credentials, and the names of interfaces but for the
/// SSIDs of their device in them.
/// Threads: one at a time.
class Anonymiser {
 public:
  /// A locally administered address (IEEE 802: the second lowest bit of the first octet) in the notation of `mac`; a
  /// text that is no MAC is taken for a name.
  std::string Mac(const std::string& mac);

  /// Replaces in the state of a device, as recordings have it.
  void State(nlohmann::ordered_json& state);

  /// Replaces every MAC in what a client asked for. SIDs stay: clients choose them.
  void Request(nlohmann::ordered_json& request);

 private:
  /// Replaces the members of `record` that hold a MAC, a name, an SSID or an IP address; what it holds inside, too.
  void Record(nlohmann::ordered_json& record);

  std::string Name(const std::string& name);
  std::string Ssid(const std::string& ssid);
  std::string SsidOctets(const std::string& hex);
  std::string Address(const std::string& address);
  /// `ssids`: those of the interface's device.
  std::string Interface(const std::string& name, const std::vector<std::string>& ssids);
  /// `key`: an SSID, "@", and a radio or "BOTH".
  std::string ConfigurationKey(const std::string& key);

  Replacements macs_;  // by their digits, in upper case
  Replacements names_;
  Replacements ssids_;
  Replacements ssid_octets_;  // of those that are no text, in hex
  Replacements addresses_;
  Replacements interfaces_;
};

}  // namespace probe::recording
