#pragma once

#include <string>
#include <vector>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// Why a question was not answered.
enum class Failure {
  kNone,         ///< It was answered.
  kNoReply,      ///< Nothing came before the deadline.
  kUnreachable,  ///< The system said that there is no way there, or that nobody listens on the port.
  kRefused,      ///< An answer came that refuses the question: version 3's reports, authorizationError.
  kBadAnswer,    ///< An answer came that cannot be read, or that does not fit the question.
  kNotGrowing,   ///< A table's answers did not grow (RFC 3416, section 4.2.3).
  kTooManyRows,  ///< A table has more rows than may be read.
};

/// The columns of a table that were asked for, as far as they were read.
struct TableAnswer {
  Failure failure = Failure::kNone;
  std::string error;                          ///< In plain words; empty when all was read.
  std::vector<std::vector<VarBind>> columns;  ///< As the question's columns; each in ascending order of its objects.
};

/// What single objects answered.
struct ObjectsAnswer {
  Failure failure = Failure::kNone;
  std::string error;            ///< As above.
  std::vector<VarBind> values;  ///< As the question's objects; empty when `failure` is set.
};

/// One agent to which questions can be put: a device in the network, or a walk that was saved to a file.
///
/// Owner:   the caller of the questions.
/// Threads: one at a time.
/// Fails:   never throws, but for `std::bad_alloc`; an answer carries its failure.
class Agent {
 public:
  virtual ~Agent() = default;

  /// Asks for these objects. One that the agent does not have answers `kNoSuchObject` or `kNoSuchInstance`.
  virtual ObjectsAnswer Get(const std::vector<Oid>& objects) = 0;

  /// Asks for these columns of one table, row by row and side by side, until each has ended. A column that the agent
  /// does not have is empty.
  ///
  /// `max_rows` is the number of rows above which the reading ends with `kTooManyRows`.
  virtual TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) = 0;
};

}  // namespace probe::snmp
