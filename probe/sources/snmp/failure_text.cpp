#include "probe/sources/snmp/failure_text.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "probe/sources/snmp/oid.h"

namespace probe::snmp {

namespace {

// usmStats, and below it the counters' numbers. Source: RFC 3414, section 5.
const Oid kUsmStats{1, 3, 6, 1, 6, 3, 15, 1, 1};
constexpr std::uint32_t kUnsupportedSecLevels = 1;
constexpr std::uint32_t kNotInTimeWindows = 2;
constexpr std::uint32_t kUnknownUserNames = 3;
constexpr std::uint32_t kUnknownEngineIds = 4;
constexpr std::uint32_t kWrongDigests = 5;
constexpr std::uint32_t kDecryptionErrors = 6;

const char* LevelName(SecurityLevel level) {
  switch (level) {
    case SecurityLevel::kAuthPriv:
      return "authPriv";
    case SecurityLevel::kAuthNoPriv:
      return "authNoPriv";
    case SecurityLevel::kNoAuthNoPriv:
      break;
  }
  return "noAuthNoPriv";
}

std::string RefusalText(const DeviceSettings& settings, const std::string& endpoint, std::uint32_t counter) {
  switch (counter) {
    case kUnsupportedSecLevels:
      return endpoint + " does not offer the security level " + LevelName(LevelOf(settings)) + " to user \"" +
             settings.user + "\": compare the user's authentication and privacy on the device";
    case kNotInTimeWindows:
      return endpoint + " finds the request not in its time window, although it was sent again with the device's own " +
             "time: its engine's clock or boot counter is broken";
    case kUnknownUserNames:
      return endpoint + " does not know the user \"" + settings.user + "\"";
    case kUnknownEngineIds:
      return endpoint + " does not know its own engine id: it changes, or two devices answer at this address";
    case kWrongDigests:
      return endpoint + " refuses the authentication of user \"" + settings.user +
             "\": wrong authentication key, or another protocol than " + ProtocolName(settings.auth);
    case kDecryptionErrors:
      return endpoint + " cannot decrypt the request: wrong privacy key of user \"" + settings.user +
             "\", or another protocol than " + ProtocolName(settings.privacy);
    default:
      return {};
  }
}

}  // namespace

std::string EndpointText(const DeviceSettings& settings, const std::string& numbers) {
  const std::string port = " port " + std::to_string(settings.port);
  if (numbers.empty() || numbers == settings.address) return settings.address + port;
  return settings.address + " (" + numbers + ")" + port;
}

FailureText NoReplyText(const DeviceSettings& settings, const std::string& endpoint) {
  std::string error = "no reply from " + endpoint + ": ";
  if (settings.version == Version::k3) {
    error += "wrong address, SNMP version 3 not enabled, or a firewall";
  } else {
    error += std::string("wrong address, wrong community or a firewall; v") + VersionName(settings.version) +
             " cannot tell which";
  }
  return {.failure = Failure::kNoReply, .error = std::move(error)};
}

FailureText SystemErrorText(const std::string& endpoint, int system_error) {
  const std::string reason = std::generic_category().message(system_error);
  std::string error;
  switch (system_error) {
    case ECONNREFUSED:
      error = endpoint + " is closed: the device is there, but nothing on it listens for SNMP";
      break;
    case ENETUNREACH:
    case EHOSTUNREACH:
    case EHOSTDOWN:
    case ENETDOWN:
      error = "no route to " + endpoint + ": " + reason;
      break;
    case EPERM:
    case EACCES:
      error = "this machine may not send to " + endpoint + ": " + reason +
              "; is there a firewall, or is it a broadcast address?";
      break;
    default:
      error = "cannot send to " + endpoint + ": " + reason;
  }
  return {.failure = Failure::kUnreachable, .error = std::move(error)};
}

FailureText ReportText(const DeviceSettings& settings, const std::string& endpoint, const Oid& counter) {
  const bool is_usm = StartsWith(counter, kUsmStats) && counter.size() > kUsmStats.size();
  std::string error = is_usm ? RefusalText(settings, endpoint, counter[kUsmStats.size()]) : std::string();
  if (error.empty()) error = endpoint + " refuses the request with the report " + OidText(counter);
  return {.failure = Failure::kRefused, .error = std::move(error)};
}

const char* ProtocolName(AuthProtocol protocol) {
  switch (protocol) {
    case AuthProtocol::kMd5:
      return "MD5";
    case AuthProtocol::kSha:
      return "SHA";
    case AuthProtocol::kSha224:
      return "SHA-224";
    case AuthProtocol::kSha256:
      return "SHA-256";
    case AuthProtocol::kSha384:
      return "SHA-384";
    case AuthProtocol::kSha512:
      return "SHA-512";
    case AuthProtocol::kNone:
      break;
  }
  return "none";
}

const char* ProtocolName(PrivacyProtocol protocol) {
  switch (protocol) {
    case PrivacyProtocol::kDes:
      return "DES";
    case PrivacyProtocol::kAes:
      return "AES";
    case PrivacyProtocol::kNone:
      break;
  }
  return "none";
}

const char* VersionName(Version version) {
  switch (version) {
    case Version::k1:
      return "1";
    case Version::k2c:
      return "2c";
    case Version::k3:
      break;
  }
  return "3";
}

}  // namespace probe::snmp
