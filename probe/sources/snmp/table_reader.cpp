#include "probe/sources/snmp/table_reader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

/// Memory for the values of one table, in octets. As many rows as may be read need half of it for the columns of
/// interfaces.
constexpr std::size_t kMaxMemory = std::size_t{48} * 1024 * 1024;

/// The memory that a value takes, in octets.
std::size_t MemoryOf(const VarBind& value) {
  std::size_t memory = sizeof value + value.oid.size() * sizeof(Oid::value_type);
  if (const auto* octets = std::get_if<std::string>(&value.value.content)) memory += octets->size();
  if (const auto* oid = std::get_if<Oid>(&value.value.content)) memory += oid->size() * sizeof(Oid::value_type);
  return memory;
}

}  // namespace

/// One reading of one table.
class TableReader::Table {
  /// One column, as far as it was read.
  struct Column {
    Oid column;
    Oid position;  // the last object read; at first the column itself
    bool has_ended = false;
    std::vector<VarBind> rows;
  };

 public:
  Table(const std::vector<Oid>& columns, std::size_t max_rows) : max_rows_(max_rows) {
    for (const Oid& column : columns) columns_.push_back({.column = column, .position = column, .rows = {}});
  }

  /// Chooses up to `count` columns that have not ended. False when all have.
  bool Choose(std::size_t count) {
    chosen_.clear();
    for (Column& column : columns_) {
      if (!column.has_ended && chosen_.size() < count) chosen_.push_back(&column);
    }
    return !chosen_.empty();
  }

  /// Where the chosen columns go on.
  std::vector<Oid> Positions() const {
    std::vector<Oid> positions;
    for (const Column* const column : chosen_) positions.push_back(column->position);
    return positions;
  }

  /// Ends the chosen column of this number, from 1. False when there is none.
  bool End(int number) {
    if (number < 1 || static_cast<std::size_t>(number) > chosen_.size()) return false;
    chosen_[static_cast<std::size_t>(number) - 1]->has_ended = true;
    return true;
  }

  /// Takes the values of an answer, repetition after repetition. False when that ends the reading.
  bool Take(std::vector<VarBind> values, int repetitions) {
    if (values.empty()) return Fail(Failure::kBadAnswer, "the device answered without any object");
    if (values.size() > chosen_.size() * static_cast<std::size_t>(repetitions)) {
      return Fail(Failure::kBadAnswer, "the device answered more objects than it was asked for");
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
      Column& column = *chosen_[i % chosen_.size()];
      if (!column.has_ended && !TakeOne(column, std::move(values[i]))) return false;
    }
    return true;
  }

  /// Ends the reading with a failure. Always false.
  bool Fail(Failure failure, std::string error) {
    failure_ = failure;
    error_ = std::move(error);
    return false;
  }

  std::size_t rows() const {
    std::size_t rows = 0;
    for (const Column& column : columns_) rows = std::max(rows, column.rows.size());
    return rows;
  }

  TableAnswer Finish() {
    TableAnswer answer{.failure = failure_, .error = std::move(error_), .columns = {}};
    for (Column& column : columns_) answer.columns.push_back(std::move(column.rows));
    return answer;
  }

 private:
  bool TakeOne(Column& column, VarBind value) {
    const bool is_row = StartsWith(value.oid, column.column) && value.oid.size() > column.column.size();
    const bool is_exception = value.value.type == ValueType::kEndOfMib ||
                              value.value.type == ValueType::kNoSuchObject ||
                              value.value.type == ValueType::kNoSuchInstance;
    if (is_exception || !is_row) {
      column.has_ended = true;
      return true;
    }
    if (value.oid <= column.position) {
      // Where it repeats itself may change from poll to poll, and would be another error in each.
      return Fail(Failure::kNotGrowing,
                  "the table does not grow: the device goes back in the column " + OidText(column.column));
    }
    if (column.rows.size() == max_rows_) {
      return Fail(Failure::kTooManyRows, "the table has more than " + std::to_string(max_rows_) + " rows");
    }
    memory_ += MemoryOf(value);
    if (memory_ > kMaxMemory) {
      return Fail(Failure::kTooManyRows,
                  "the table takes more than " + std::to_string(kMaxMemory) + " octets of memory");
    }
    column.position = value.oid;
    column.rows.push_back(std::move(value));
    return true;
  }

  const std::size_t max_rows_;
  std::vector<Column> columns_;
  std::vector<Column*> chosen_;
  std::size_t memory_ = 0;
  Failure failure_ = Failure::kNone;
  std::string error_;
};

int TableReader::RepetitionsFor(const Oid& table) const {
  const auto rows = rows_.find(table);
  if (rows == rows_.end()) return repetitions_;
  // One more than there were, so that the first request also shows the end of the table.
  return static_cast<int>(std::min(static_cast<std::size_t>(repetitions_), rows->second + 1));
}

void TableReader::RememberRows(const Oid& table, std::size_t rows) {
  if (rows_.size() < kMaxRemembered || rows_.contains(table)) rows_[table] = rows;
}

TableAnswer TableReader::Read(RequestChannel& channel, const std::vector<Oid>& columns, std::size_t max_rows) {
  if (!channel.CanRepeat()) repetitions_ = 1;
  Table table(columns, max_rows);
  Size size{.repetitions = columns.empty() ? 1 : RepetitionsFor(columns.front()), .columns = columns_per_request_};
  bool goes_on = true;
  while (goes_on && table.Choose(size.columns)) {
    const std::vector<Oid> positions = table.Positions();
    goes_on = TakeAnswer(channel.Next(positions, size.repetitions), positions, table, size);
  }
  if (!columns.empty()) RememberRows(columns.front(), table.rows());
  return table.Finish();
}

bool TableReader::TakeAnswer(ExchangeAnswer answer, const std::vector<Oid>& positions, Table& table, Size& size) {
  if (answer.failure == Failure::kNoReply && size.repetitions > 1) {
    size.repetitions /= 2;
    size.is_trial = true;
    return true;
  }
  if (answer.failure != Failure::kNone) return table.Fail(answer.failure, std::move(answer.error));
  // Remembered only now: a device that went away answers no size.
  if (size.is_trial) repetitions_ = std::min(repetitions_, size.repetitions);
  size.is_trial = false;
  if (answer.error_status != 0) return TakeError(answer, positions, table, size);
  if (!table.Take(std::move(answer.values), size.repetitions)) return false;
  // The size that the table had before was a guess: whatever goes on after the first answer is larger.
  size.repetitions = repetitions_;
  return true;
}

bool TableReader::TakeError(const ExchangeAnswer& answer, const std::vector<Oid>& positions, Table& table, Size& size) {
  if (answer.error_status == kTooBig && size.repetitions > 1) {
    size.repetitions /= 2;
    repetitions_ = std::min(repetitions_, size.repetitions);
    return true;
  }
  if (answer.error_status == kTooBig && positions.size() > 1) {
    size.columns = columns_per_request_ = positions.size() / 2;
    return true;
  }
  if (answer.error_status == kNoSuchName) {
    // The end of a column in version 1. Agents that do not say which object they mean are asked for each by itself.
    if (table.End(positions.size() == 1 ? 1 : answer.error_index)) return true;
    size.columns = 1;
    return true;
  }
  ErrorStatusText text = TextOf(answer, positions);
  return table.Fail(text.failure, std::move(text.error));
}

}  // namespace probe::snmp
