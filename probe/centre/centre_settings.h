#pragma once

#include <string>
#include <vector>

#include "probe/uplink/nats_login.h"

namespace probe::centre {

/// The stream that holds the texts of all sites.
struct StreamSettings : uplink::NatsLogin {
  StreamSettings() { servers = {"nats://127.0.0.1:4222"}; }

  std::string name = "VEXORA";
  int replicas = 1;  ///< Copies that a stream gets which the centre makes.
  int days = 7;      ///< For which it keeps texts then.
};

/// Sites for which there is a token of its own, which `ServerSettings::named_tokens` has under this name.
struct AccessGroup {
  std::string name;
  std::vector<std::string> sites;  ///< Names; one that ends with "*" stands for all that begin so.

  /// Whether a site is one of them.
  bool Has(const std::string& site) const;
};

/// What is settled for a centre, beside its server.
struct CentreSettings {
  StreamSettings stream;
  std::vector<AccessGroup> groups;
};

}  // namespace probe::centre
