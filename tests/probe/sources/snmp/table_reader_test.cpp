#include "probe/sources/snmp/table_reader.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/request_channel.h"
#include "probe/sources/snmp/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace probe::snmp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Oid kReadTable{1, 3, 6, 1, 99, 1};

Oid TableColumn(std::uint32_t number) {
  Oid column = kReadTable;
  column.push_back(number);
  return column;
}

Oid Cell(std::uint32_t column, std::uint32_t row) {
  Oid cell = TableColumn(column);
  cell.push_back(row);
  return cell;
}

Value Number(std::int64_t number) {
  return {.type = ValueType::kInteger, .content = number};
}

/// What an agent answers for objects that it has, in their order, and how it goes wrong when it is told to. It does not
/// model the size of messages: it is told how many objects fit.
class FakeTableChannel : public RequestChannel {
 public:
  struct Asked {
    std::size_t objects;
    int repetitions;
    bool operator==(const Asked&) const = default;
  };

  ExchangeAnswer Get(const std::vector<Oid>& /*asked*/) override { return {.failure = Failure::kBadAnswer}; }

  ExchangeAnswer Next(const std::vector<Oid>& positions, int repetitions) override {
    asked.push_back({positions.size(), repetitions});
    const std::size_t wanted = positions.size() * static_cast<std::size_t>(can_repeat ? repetitions : 1);
    if (wanted > silent_above) return {.failure = Failure::kNoReply, .error = "no reply"};
    if (wanted > too_big_above) return {.error_status = kTooBig};
    ExchangeAnswer answer = can_repeat ? Bulk(positions, repetitions) : Single(positions);
    if (answer.values.size() > cut_at) answer.values.resize(cut_at);
    if (distort) distort(answer);
    return answer;
  }

  bool CanRepeat() const override { return can_repeat; }

  std::map<Oid, Value> objects;
  bool can_repeat = true;
  bool tells_index = true;
  std::size_t silent_above = SIZE_MAX;
  std::size_t too_big_above = SIZE_MAX;
  std::size_t cut_at = SIZE_MAX;
  std::function<void(ExchangeAnswer&)> distort;
  std::vector<Asked> asked;

 private:
  VarBind After(const Oid& object) const {
    const auto next = objects.upper_bound(object);
    if (next == objects.end()) return {.oid = object, .value = {.type = ValueType::kEndOfMib, .content = {}}};
    return {.oid = next->first, .value = next->second};
  }

  ExchangeAnswer Bulk(std::vector<Oid> positions, int repetitions) const {
    ExchangeAnswer answer;
    for (int i = 0; i < repetitions; ++i) {
      for (Oid& position : positions) {
        answer.values.push_back(After(position));
        position = answer.values.back().oid;
      }
    }
    return answer;
  }

  ExchangeAnswer Single(const std::vector<Oid>& positions) const {
    ExchangeAnswer answer;
    for (std::size_t i = 0; i < positions.size(); ++i) {
      answer.values.push_back(After(positions[i]));
      if (answer.values.back().value.type != ValueType::kEndOfMib) continue;
      return {.error_status = kNoSuchName, .error_index = tells_index ? static_cast<int>(i) + 1 : 0};
    }
    return answer;
  }
};

class TableReaderTest : public ::testing::Test {
 protected:
  /// Rows 1 to `rows` of a column; the value of row 7 in column 2 is 2007.
  void Give(std::uint32_t column, std::uint32_t rows) {
    for (std::uint32_t row = 1; row <= rows; ++row) {
      channel_.objects[Cell(column, row)] = Number(column * 1000 + row);
    }
  }

  TableAnswer Read(const std::vector<std::uint32_t>& columns, std::size_t max_rows = 10'000) {
    std::vector<Oid> asked;
    for (const std::uint32_t column : columns) asked.push_back(TableColumn(column));
    return reader_.Read(channel_, asked, max_rows);
  }

  static std::vector<VarBind> Rows(std::uint32_t column, std::uint32_t rows) {
    std::vector<VarBind> expected;
    for (std::uint32_t row = 1; row <= rows; ++row) {
      expected.push_back({.oid = Cell(column, row), .value = Number(column * 1000 + row)});
    }
    return expected;
  }

  FakeTableChannel channel_;
  TableReader reader_;
};

TEST_F(TableReaderTest, ReadsColumnsOfDifferentLengthsSideBySide) {
  Give(1, 60);
  Give(2, 3);
  Give(4, 26);

  const TableAnswer answer = Read({1, 2, 3, 4});

  EXPECT_EQ(answer.failure, Failure::kNone) << answer.error;
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 60), Rows(2, 3), IsEmpty(), Rows(4, 26)));
}

TEST_F(TableReaderTest, EndsWhereTheTextsAreTooLong) {
  Give(1, 1'000);
  const Value text{.type = ValueType::kOctets, .content = std::string(60'000, 'x')};
  for (auto& [oid, value] : channel_.objects) value = text;

  const TableAnswer answer = Read({1});

  EXPECT_EQ(answer.failure, Failure::kTooManyRows);
  EXPECT_EQ(answer.error, "the table takes more than 50331648 octets of memory");
  EXPECT_LT(answer.columns.front().size(), 840U);
}

TEST_F(TableReaderTest, EndsWhereTheNamesOfTheObjectsAreTooLong) {
  Give(1, 200'000);
  std::map<Oid, Value> objects;
  for (const auto& [oid, value] : channel_.objects) {
    Oid longer = oid;
    longer.resize(128);  // the most that there may be
    objects.emplace(std::move(longer), value);
  }
  channel_.objects = std::move(objects);

  const TableAnswer answer = Read({1}, 1'000'000);

  EXPECT_EQ(answer.error, "the table takes more than 50331648 octets of memory");
  EXPECT_LT(answer.columns.front().size(), 100'000U);
}

TEST_F(TableReaderTest, HasMemoryForAsManyInterfacesAsMayBeRead) {
  constexpr std::uint32_t kRows = 10'000;
  std::vector<std::uint32_t> columns;
  for (std::uint32_t column = 1; column <= 14; ++column) {
    Give(column, kRows);
    columns.push_back(column);
  }
  EXPECT_EQ(Read(columns).error, "");
}

TEST_F(TableReaderTest, StartsAt25RepetitionsAndDropsColumnsThatHaveEnded) {
  Give(1, 60);
  Give(2, 3);

  Read({1, 2});

  EXPECT_THAT(channel_.asked, ElementsAre(FakeTableChannel::Asked{2, 25}, FakeTableChannel::Asked{1, 25},
                                          FakeTableChannel::Asked{1, 25}));
}

TEST_F(TableReaderTest, NeedsOneRequestForATableWhoseEndIsInTheFirstAnswer) {
  Give(1, 24);
  Give(2, 24);

  Read({1, 2});

  EXPECT_THAT(channel_.asked, ElementsAre(FakeTableChannel::Asked{2, 25}));
}

TEST_F(TableReaderTest, AsksNextTimeForOneRowMoreThanThereWere) {
  Give(1, 4);
  Read({1});
  channel_.asked.clear();

  EXPECT_THAT(Read({1}).columns, ElementsAre(Rows(1, 4)));
  EXPECT_THAT(channel_.asked, ElementsAre(FakeTableChannel::Asked{1, 5}));

  Give(1, 40);
  channel_.asked.clear();
  EXPECT_THAT(Read({1}).columns, ElementsAre(Rows(1, 40)));
  EXPECT_THAT(channel_.asked, ElementsAre(FakeTableChannel::Asked{1, 5}, FakeTableChannel::Asked{1, 25},
                                          FakeTableChannel::Asked{1, 25}));
}

TEST_F(TableReaderTest, ReadsATableThatTheAgentDoesNotHaveAsEmpty) {
  channel_.objects[{1, 3, 7}] = Number(1);

  const TableAnswer answer = Read({1, 2});

  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.columns, ElementsAre(IsEmpty(), IsEmpty()));
}

TEST_F(TableReaderTest, EndsAtTheEndOfTheMib) {
  Give(1, 2);

  const TableAnswer answer = Read({1, 2});

  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 2), IsEmpty()));
}

TEST_F(TableReaderTest, ReadsNothingForNoColumns) {
  EXPECT_THAT(Read({}).columns, IsEmpty());
  EXPECT_THAT(channel_.asked, IsEmpty());
}

TEST_F(TableReaderTest, ReadsWithGetNextRowByRow) {
  channel_.can_repeat = false;
  Give(1, 3);
  Give(2, 2);

  const TableAnswer answer = Read({1, 2});

  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 3), Rows(2, 2)));
}

TEST_F(TableReaderTest, UnderstandsAgentsThatDoNotSayWhichColumnHasEnded) {
  channel_.can_repeat = false;
  channel_.tells_index = false;
  Give(1, 2);
  Give(2, 5);

  const TableAnswer answer = Read({1, 2});

  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 2), Rows(2, 5)));
}

TEST_F(TableReaderTest, HalvesRepetitionsOnATimeoutAndRemembersIt) {
  channel_.silent_above = 2 * 6;
  Give(1, 30);
  Give(2, 30);

  EXPECT_THAT(Read({1, 2}).columns, ElementsAre(Rows(1, 30), Rows(2, 30)));
  EXPECT_EQ(channel_.asked[0].repetitions, 25);
  EXPECT_EQ(channel_.asked[1].repetitions, 12);
  EXPECT_EQ(channel_.asked[2].repetitions, 6);
  EXPECT_EQ(reader_.repetitions(), 6);

  channel_.asked.clear();
  Read({1, 2});
  EXPECT_EQ(channel_.asked[0].repetitions, 6);
}

TEST_F(TableReaderTest, HalvesRepetitionsOnTooBigAndRemembersIt) {
  channel_.too_big_above = 3;
  Give(1, 10);

  EXPECT_THAT(Read({1}).columns, ElementsAre(Rows(1, 10)));
  EXPECT_EQ(reader_.repetitions(), 3);
}

TEST_F(TableReaderTest, HalvesColumnsWhenOneRepetitionIsTooBig) {
  channel_.too_big_above = 2;
  for (std::uint32_t column = 1; column <= 5; ++column) Give(column, 4);

  EXPECT_THAT(Read({1, 2, 3, 4, 5}).columns, ElementsAre(Rows(1, 4), Rows(2, 4), Rows(3, 4), Rows(4, 4), Rows(5, 4)));
}

TEST_F(TableReaderTest, EndsWhenASingleObjectIsTooBig) {
  channel_.too_big_above = 0;
  Give(1, 4);

  const TableAnswer answer = Read({1});

  EXPECT_EQ(answer.failure, Failure::kBadAnswer);
  EXPECT_EQ(answer.error, "the device answered tooBig");
}

TEST_F(TableReaderTest, ForgetsTheSizesThatItTriedOnADeviceThatIsGone) {
  channel_.silent_above = 0;
  Give(1, 4);

  EXPECT_EQ(Read({1}).failure, Failure::kNoReply);
  EXPECT_EQ(reader_.repetitions(), 25);
}

TEST_F(TableReaderTest, GoesOnWhereATruncatedAnswerStopped) {
  channel_.cut_at = 7;
  Give(1, 20);
  Give(2, 9);
  Give(3, 20);

  EXPECT_THAT(Read({1, 2, 3}).columns, ElementsAre(Rows(1, 20), Rows(2, 9), Rows(3, 20)));
}

TEST_F(TableReaderTest, KeepsTheRowsBeforeAFailure) {
  Give(1, 60);
  channel_.distort = [&](ExchangeAnswer& answer) {
    if (channel_.asked.size() == 2) answer = {.failure = Failure::kUnreachable, .error = "gone"};
  };

  const TableAnswer answer = Read({1});

  EXPECT_EQ(answer.failure, Failure::kUnreachable);
  EXPECT_EQ(answer.error, "gone");
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 25)));
}

TEST_F(TableReaderTest, EndsWhenTheTableDoesNotGrow) {
  Give(1, 60);
  channel_.distort = [](ExchangeAnswer& answer) { std::swap(answer.values[3], answer.values[4]); };

  const TableAnswer answer = Read({1});

  EXPECT_EQ(answer.failure, Failure::kNotGrowing);
  EXPECT_EQ(answer.error, "the table does not grow: the device goes back in the column 1.3.6.1.99.1.1");
  EXPECT_EQ(answer.columns.front().size(), 4U);
}

TEST_F(TableReaderTest, EndsWhenTheSameRowComesAgain) {
  Give(1, 60);
  channel_.distort = [first = VarBind{Cell(1, 1), Number(1001)}](ExchangeAnswer& answer) { answer.values = {first}; };

  const TableAnswer answer = Read({1});

  EXPECT_EQ(answer.failure, Failure::kNotGrowing);
  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, 1)));
  EXPECT_EQ(channel_.asked.size(), 2U);
}

TEST_F(TableReaderTest, EndsWithTheColumnItselfAsAnAnswer) {
  channel_.distort = [](ExchangeAnswer& answer) { answer.values = {{.oid = TableColumn(1), .value = Number(1)}}; };

  EXPECT_THAT(Read({1}).columns, ElementsAre(IsEmpty()));
  EXPECT_EQ(channel_.asked.size(), 1U);
}

class RowCap : public TableReaderTest, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(RowCap, EndsATableThatIsLonger) {
  constexpr std::uint32_t kCap = 50;
  Give(1, GetParam());

  const TableAnswer answer = Read({1}, kCap);

  EXPECT_THAT(answer.columns, ElementsAre(Rows(1, std::min(kCap, GetParam()))));
  EXPECT_EQ(answer.failure, GetParam() > kCap ? Failure::kTooManyRows : Failure::kNone);
  EXPECT_EQ(answer.error, GetParam() > kCap ? "the table has more than 50 rows" : "");
}

INSTANTIATE_TEST_SUITE_P(BelowAtAbove, RowCap, ::testing::Values(49, 50, 51));

TEST_F(TableReaderTest, EndsAnEndlessTableAtTheCap) {
  std::uint32_t row = 0;
  channel_.distort = [&](ExchangeAnswer& answer) {
    answer.values.clear();
    for (int i = 0; i < 25; ++i) answer.values.push_back({.oid = Cell(1, ++row), .value = Number(0)});
  };

  const TableAnswer answer = Read({1}, 1'000);

  EXPECT_EQ(answer.failure, Failure::kTooManyRows);
  EXPECT_EQ(answer.columns.front().size(), 1'000U);
  EXPECT_EQ(channel_.asked.size(), 41U);
}

TEST_F(TableReaderTest, RefusesAnswersThatDoNotFit) {
  Give(1, 60);
  channel_.distort = [](ExchangeAnswer& answer) { answer.values.clear(); };
  EXPECT_EQ(Read({1}).failure, Failure::kBadAnswer);

  channel_.distort = [](ExchangeAnswer& answer) { answer.values.resize(26, answer.values.back()); };
  EXPECT_EQ(Read({1}).error, "the device answered more objects than it was asked for");
}

TEST_F(TableReaderTest, TellsWhenTheAgentRefuses) {
  Give(1, 60);
  channel_.distort = [](ExchangeAnswer& answer) { answer = {.error_status = kAuthorizationError, .error_index = 1}; };
  const TableAnswer refused = Read({1});
  EXPECT_EQ(refused.failure, Failure::kRefused);
  EXPECT_EQ(refused.error, "the device answered authorizationError for 1.3.6.1.99.1.1");

  channel_.distort = [](ExchangeAnswer& answer) { answer = {.error_status = 99, .error_index = 7}; };
  const TableAnswer odd = Read({1});
  EXPECT_EQ(odd.failure, Failure::kBadAnswer);
  EXPECT_EQ(odd.error, "the device answered an unknown error");
}

TEST_F(TableReaderTest, ReadsMoreColumnsThanFitIntoOneRequest) {
  std::vector<std::uint32_t> columns;
  for (std::uint32_t column = 1; column <= TableReader::kMaxColumns + 1; ++column) {
    Give(column, 2);
    columns.push_back(column);
  }

  const TableAnswer answer = Read(columns);

  ASSERT_EQ(answer.columns.size(), columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) EXPECT_EQ(answer.columns[i], Rows(columns[i], 2));
  EXPECT_EQ(channel_.asked.front().objects, TableReader::kMaxColumns);
}

}  // namespace
}  // namespace probe::snmp
