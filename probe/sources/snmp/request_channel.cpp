#include "probe/sources/snmp/request_channel.h"

#include <array>
#include <cstddef>

namespace probe::snmp {

ErrorStatusText TextOf(const ExchangeAnswer& answer, const std::vector<Oid>& objects) {
  static constexpr std::array kNames = {"noError",
                                        "tooBig",
                                        "noSuchName",
                                        "badValue",
                                        "readOnly",
                                        "genErr",
                                        "noAccess",
                                        "wrongType",
                                        "wrongLength",
                                        "wrongEncoding",
                                        "wrongValue",
                                        "noCreation",
                                        "inconsistentValue",
                                        "resourceUnavailable",
                                        "commitFailed",
                                        "undoFailed",
                                        "authorizationError",
                                        "notWritable",
                                        "inconsistentName"};
  const auto status = static_cast<std::size_t>(answer.error_status);
  const auto index = static_cast<std::size_t>(answer.error_index);
  ErrorStatusText text;
  text.error = "the device answered ";
  text.error += answer.error_status >= 0 && status < kNames.size() ? kNames[status] : "an unknown error";
  if (answer.error_index >= 1 && index <= objects.size()) text.error += " for " + OidText(objects[index - 1]);
  const bool is_refused = answer.error_status == kNoAccess || answer.error_status == kAuthorizationError;
  if (is_refused) text.failure = Failure::kRefused;
  return text;
}

}  // namespace probe::snmp
