#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/request_channel.h"

namespace probe::snmp {

/// Reads tables of one device, column by column side by side, and remembers how much it can answer at once.
///
/// Owner:   the device's agent. Threads: one at a time.
class TableReader {
 public:
  /// Repetitions of the first request to a device.
  static constexpr int kFirstRepetitions = 25;

  /// Columns in one request. Further ones are read after the first have ended.
  static constexpr std::size_t kMaxColumns = 32;

  /// Tables whose size is remembered.
  static constexpr std::size_t kMaxRemembered = 256;

  /// As `Agent::ReadTable`. A column ends where the agent answers with another object, or with the end of its view.
  /// What was read before a failure stays in the answer.
  TableAnswer Read(RequestChannel& channel, const std::vector<Oid>& columns, std::size_t max_rows);

  /// Repetitions that the device could answer so far.
  int repetitions() const { return repetitions_; }

 private:
  class Table;

  /// How much one request asks for.
  struct Size {
    int repetitions = kFirstRepetitions;
    std::size_t columns = kMaxColumns;
    bool is_trial = false;  ///< Whether the device left a larger request unanswered.
  };

  /// Goes on after an answer. False when the reading has ended.
  bool TakeAnswer(ExchangeAnswer answer, const std::vector<Oid>& positions, Table& table, Size& size);
  bool TakeError(const ExchangeAnswer& answer, const std::vector<Oid>& positions, Table& table, Size& size);
  int RepetitionsFor(const Oid& table) const;
  void RememberRows(const Oid& table, std::size_t rows);

  int repetitions_ = kFirstRepetitions;
  std::size_t columns_per_request_ = kMaxColumns;
  std::map<Oid, std::size_t> rows_;  // first column of a table -> rows that it last had
};

}  // namespace probe::snmp
