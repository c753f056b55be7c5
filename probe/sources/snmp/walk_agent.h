#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// An agent that answers from a walk saved to a file: lines "OID|type|value".
///
/// The types are the numbers of ASN.1 tags: 2 INTEGER, 4 OCTET STRING, 5 NULL, 6 OBJECT IDENTIFIER, 64 IpAddress, 65
/// Counter32, 66 Gauge32, 67 TimeTicks, 70 Counter64; an "x" behind says that the value is in hexadecimal digits. Lines
/// may stand in any order; of two for the same object the first counts. A line that cannot be read is left out, with
/// the reason in `left_out`.
///
/// It models no messages: no limits of size, no repetitions, no loss.
class WalkAgent : public Agent {
 public:
  /// `text` is the content of the file.
  explicit WalkAgent(std::string_view text);

  ObjectsAnswer Get(const std::vector<Oid>& objects) override;
  TableAnswer ReadTable(const std::vector<Oid>& columns, std::size_t max_rows) override;

  /// All objects, in ascending order.
  const std::vector<VarBind>& objects() const { return objects_; }

  /// "line 12: ...", one for each line that was left out.
  const std::vector<std::string>& left_out() const { return left_out_; }

 private:
  std::vector<VarBind> objects_;
  std::vector<std::string> left_out_;
};

/// The agent of a file. Fails: throws `std::runtime_error` for a file that cannot be read.
WalkAgent ReadWalk(const std::filesystem::path& file);

/// One line of such a file, without the line feed: "1.3.6.1.2.1.1.3.0|67|8612125". Empty for a value that is an
/// exception.
std::string WalkLine(const VarBind& object);

}  // namespace probe::snmp
