#pragma once

#include <string>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/snmp_session.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {

/// Why a device did not answer, for its administrator.
struct FailureText {
  Failure failure = Failure::kNone;
  std::string error;
};

/// "192.0.2.7 port 161", or "core.example (192.0.2.7, 2001:db8::7) port 161". `numbers` are the addresses of the name;
/// empty when it is not known to have one.
std::string EndpointText(const DeviceSettings& settings, const std::string& numbers);

/// What to tell about a request to which nothing came. No secret is in it.
///
/// `endpoint` as `EndpointText` gives it.
FailureText NoReplyText(const DeviceSettings& settings, const std::string& endpoint);

/// What to tell about an error of the system: no route, a port that is closed, a firewall.
FailureText SystemErrorText(const std::string& endpoint, int system_error);

/// What to tell about a report of a version 3 engine; `counter` is the object that the report holds.
///
/// Source: RFC 3414, section 3.2, and the counters of SNMP-USER-BASED-SM-MIB.
FailureText ReportText(const DeviceSettings& settings, const std::string& endpoint, const Oid& counter);

/// "SHA-256", "AES", "none".
const char* ProtocolName(AuthProtocol protocol);
const char* ProtocolName(PrivacyProtocol protocol);

/// "1", "2c" or "3".
const char* VersionName(Version version);

}  // namespace probe::snmp
