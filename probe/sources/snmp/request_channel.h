#pragma once

#include <string>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// Values of an answer's error-status that are treated specially. Source: RFC 3416, section 3.
inline constexpr int kTooBig = 1;
inline constexpr int kNoSuchName = 2;
inline constexpr int kGenErr = 5;
inline constexpr int kNoAccess = 6;
inline constexpr int kAuthorizationError = 16;

/// What came back for one request.
struct ExchangeAnswer {
  Failure failure = Failure::kNone;
  std::string error{};            ///< In plain words; empty when an answer came.
  int error_status = 0;           ///< Of the answer; 0 for none.
  int error_index = 0;            ///< Which object it is about, from 1; 0 for none.
  std::vector<VarBind> values{};  ///< As the agent ordered them.
};

/// Sends single requests to one agent and waits for their answers.
///
/// Threads: one at a time.
class RequestChannel {
 public:
  virtual ~RequestChannel() = default;

  /// Asks for these objects.
  virtual ExchangeAnswer Get(const std::vector<Oid>& objects) = 0;

  /// Asks for the objects that follow these, up to `repetitions` times: GETBULK, or GETNEXT where there is no GETBULK,
  /// which gives one repetition.
  virtual ExchangeAnswer Next(const std::vector<Oid>& objects, int repetitions) = 0;

  /// Whether there is GETBULK.
  virtual bool CanRepeat() const = 0;
};

/// An error-status in words, and whether it refuses the request: "the device answered genErr for 1.3.6.1.2.1.1.1.0".
struct ErrorStatusText {
  Failure failure = Failure::kBadAnswer;
  std::string error;
};

/// `objects` are those of the request that `answer` is for.
ErrorStatusText TextOf(const ExchangeAnswer& answer, const std::vector<Oid>& objects);

}  // namespace probe::snmp
