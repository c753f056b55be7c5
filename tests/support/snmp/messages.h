#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace test {

/// Types of requests. Source: RFC 3416, section 3.
inline constexpr std::uint8_t kGetRequest = 0xa0;
inline constexpr std::uint8_t kGetNextRequest = 0xa1;
inline constexpr std::uint8_t kGetBulkRequest = 0xa5;

/// A request of version 1 or 2c as it came over the network.
struct SnmpRequest {
  std::int64_t version = 0;  ///< 0 is version 1, 1 is version 2c.
  std::string community;
  std::uint8_t type = 0;
  std::int64_t id = 0;
  std::int64_t max_repetitions = 0;  ///< Of a GETBULK.
  std::vector<probe::snmp::Oid> objects;
};

/// Reads a request. Nothing for version 3 and for what is no request. Written apart from the probe's own library, so
/// that the two check each other.
std::optional<SnmpRequest> ReadSnmpRequest(const std::string& packet);

/// The octets of a response.
std::string SnmpResponse(const SnmpRequest& request, const std::vector<probe::snmp::VarBind>& values,
                         std::int64_t error_status = 0, std::int64_t error_index = 0);

/// What an agent with these objects answers.
std::string AnswerFrom(const std::map<probe::snmp::Oid, probe::snmp::Value>& objects, const SnmpRequest& request);

}  // namespace test
