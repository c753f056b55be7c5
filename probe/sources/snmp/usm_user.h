#pragma once

#include <memory>
#include <string>

#include "probe/sources/snmp/snmp_settings.h"

struct usmUser;  // of the SNMP library

namespace probe::snmp {

/// The user of one device for the user-based security model of version 3, with its keys made for that device's engine.
///
/// The library keeps its users in one list and takes the first of a name and an engine, whatever its keys: two devices
/// with a copied engine id, or a key that was changed, would get each other's. So a user is in the list only while a
/// `KnownUser` lives.
///
/// Owner:   the session. Threads: one at a time; `KnownUser` with the library's lock held. Source: RFC 3414,
/// section 2.6.
class UsmUser {
 public:
  /// The user of the settings for the engine with this id. Null when a key has fewer than eight octets.
  static std::unique_ptr<UsmUser> Make(const DeviceSettings& settings, const std::string& engine_id);
  ~UsmUser();
  UsmUser(const UsmUser&) = delete;
  UsmUser& operator=(const UsmUser&) = delete;

 private:
  friend class KnownUser;
  explicit UsmUser(usmUser* user) : user_(user) {}

  usmUser* user_;
};

/// Makes a user known to the library until the end of the scope.
class KnownUser {
 public:
  /// `user` may be null.
  explicit KnownUser(const std::unique_ptr<UsmUser>& user);
  ~KnownUser();
  KnownUser(const KnownUser&) = delete;
  KnownUser& operator=(const KnownUser&) = delete;

 private:
  usmUser* user_;
};

}  // namespace probe::snmp
