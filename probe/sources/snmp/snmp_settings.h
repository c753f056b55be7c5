#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace probe::snmp {

enum class Version { k1, k2c, k3 };

/// Source: RFC 3414, RFC 7860.
enum class AuthProtocol { kNone, kMd5, kSha, kSha224, kSha256, kSha384, kSha512 };

/// Source: RFC 3414, RFC 3826.
enum class PrivacyProtocol { kNone, kDes, kAes };

/// How one device is asked. Secrets stand in the record as they were read; they appear in no log line, message or
/// error.
struct DeviceSettings {
  std::string address;  ///< Host name, IPv4 or IPv6 address, without a port.
  std::uint16_t port = 161;
  Version version = Version::k2c;
  std::string community;  ///< Versions 1 and 2c.
  std::string user;       ///< Version 3: the user; empty in the others.
  AuthProtocol auth = AuthProtocol::kNone;
  std::string auth_key;  ///< Passphrase of at least eight octets.
  PrivacyProtocol privacy = PrivacyProtocol::kNone;
  std::string privacy_key;            ///< Likewise.
  std::string name;                   ///< Device name; empty: what the device calls itself.
  std::string profile;                ///< Name of the profile; empty: recognised.
  std::string mac;                    ///< Device id; empty: found by the profile.
  std::chrono::seconds interval{30};  ///< Time between two polls.
  std::string defined_at;             ///< Where the settings stand, for errors: "probe.toml:12"; empty when unknown.

  bool operator==(const DeviceSettings&) const = default;
};

/// How the source `snmp` works.
struct SnmpSettings {
  std::vector<DeviceSettings> devices;
};

}  // namespace probe::snmp
