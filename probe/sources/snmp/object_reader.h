#pragma once

#include <cstddef>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/request_channel.h"

namespace probe::snmp {

/// Reads single objects of one device, and remembers how many it can answer at once.
///
/// Owner:   the device's agent. Threads: one at a time.
class ObjectReader {
 public:
  /// Objects in one request.
  static constexpr std::size_t kMaxObjects = 32;

  /// As `Agent::Get`. An object for which the agent answers genErr is NULL: it exists, and has no value.
  ObjectsAnswer Read(RequestChannel& channel, const std::vector<Oid>& objects);

 private:
  /// Objects that were not answered yet, as indices into the question.
  using Open = std::vector<std::size_t>;

  bool TakeAnswer(ExchangeAnswer answer, const std::vector<Oid>& asked, Open& open, ObjectsAnswer& result);
  bool TakeError(const ExchangeAnswer& answer, const std::vector<Oid>& asked, Open& open, ObjectsAnswer& result);

  std::size_t objects_per_request_ = kMaxObjects;
};

}  // namespace probe::snmp
