#include "probe/sources/snmp/object_reader.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <string>
#include <utility>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

/// Ends the reading with a failure. Always false.
bool Fail(Failure failure, std::string error, ObjectsAnswer& result) {
  result = {.failure = failure, .error = std::move(error), .values = {}};
  return false;
}

}  // namespace

ObjectsAnswer ObjectReader::Read(RequestChannel& channel, const std::vector<Oid>& objects) {
  ObjectsAnswer result;
  for (const Oid& object : objects) result.values.push_back({.oid = object, .value = {}});
  Open open(objects.size());
  std::iota(open.begin(), open.end(), std::size_t{0});
  bool goes_on = true;
  while (goes_on && !open.empty()) {
    const std::size_t count = std::min(open.size(), objects_per_request_);
    std::vector<Oid> asked;
    std::transform(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(count), std::back_inserter(asked),
                   [&](std::size_t index) { return objects[index]; });
    goes_on = TakeAnswer(channel.Get(asked), asked, open, result);
  }
  return result;
}

bool ObjectReader::TakeAnswer(ExchangeAnswer answer, const std::vector<Oid>& asked, Open& open, ObjectsAnswer& result) {
  if (answer.failure != Failure::kNone) return Fail(answer.failure, std::move(answer.error), result);
  if (answer.error_status != 0) return TakeError(answer, asked, open, result);
  const bool fits = std::equal(answer.values.begin(), answer.values.end(), asked.begin(), asked.end(),
                               [](const VarBind& value, const Oid& object) { return value.oid == object; });
  if (!fits) return Fail(Failure::kBadAnswer, "the device answered other objects than it was asked for", result);
  for (std::size_t i = 0; i < asked.size(); ++i) result.values[open[i]] = std::move(answer.values[i]);
  open.erase(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(asked.size()));
  return true;
}

bool ObjectReader::TakeError(const ExchangeAnswer& answer, const std::vector<Oid>& asked, Open& open,
                             ObjectsAnswer& result) {
  if (answer.error_status == kTooBig && asked.size() > 1) {
    objects_per_request_ = asked.size() / 2;
    return true;
  }
  if (answer.error_status == kNoSuchName || answer.error_status == kGenErr) {
    const auto number = asked.size() == 1 ? std::size_t{1} : static_cast<std::size_t>(answer.error_index);
    if (number >= 1 && number <= asked.size()) {
      const auto at = open.begin() + static_cast<std::ptrdiff_t>(number - 1);
      const bool is_missing = answer.error_status == kNoSuchName;
      result.values[*at].value.type = is_missing ? ValueType::kNoSuchObject : ValueType::kNull;
      open.erase(at);
      return true;
    }
    // The agent does not say which object it means: each is asked for by itself.
    objects_per_request_ = 1;
    return true;
  }
  ErrorStatusText text = TextOf(answer, asked);
  return Fail(text.failure, std::move(text.error), result);
}

}  // namespace probe::snmp
