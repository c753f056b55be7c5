#include "probe/sources/snmp/counter_table.h"
#include "probe/sources/snmp/reading.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace probe::snmp {
namespace {

CounterRow Row(const std::string& name, std::optional<std::uint64_t> in, std::optional<std::uint64_t> out) {
  CounterRow row;
  row.name = name;
  if (in) row.in = OctetCounter{.value = *in};
  if (out) row.out = OctetCounter{.value = *out};
  row.bits_per_second = 1'000'000'000;
  return row;
}

class CounterTableTest : public ::testing::Test {
 protected:
  bool Take(const std::vector<CounterRow>& rows) {
    ticks_ += 3'000;
    return table_.Take(rows, {.now_ticks = ticks_, .device_starts = 0});
  }

  CounterTable table_;
  std::int64_t ticks_ = 170'000'000'000;
};

TEST_F(CounterTableTest, HandsReadingsOn) {
  EXPECT_TRUE(Take({Row("a", 10, 20), Row("b", 30, 40)}));
  EXPECT_TRUE(Take({Row("b", 35, 45), Row("a", 11, 22)}));
  EXPECT_EQ(table_.Find("a").in, 11U);
  EXPECT_EQ(table_.Find("a").out, 22U);
  EXPECT_TRUE(table_.Find("a").is_measured);
  EXPECT_EQ(table_.Find("b").in, 35U);
}

TEST_F(CounterTableTest, HoldsAReadingWithAGapBack) {
  Take({Row("a", 1000, 20), Row("b", 30, 40)});
  EXPECT_FALSE(Take({Row("a", 900, 21), Row("b", 31, 41)}));
  EXPECT_TRUE(Take({Row("a", 1100, 22), Row("b", 32, 42)}));
  EXPECT_EQ(table_.Find("a").in, 1100U);
  EXPECT_TRUE(table_.Find("a").is_measured);
}

TEST_F(CounterTableTest, DoesNotLetOneFaultyCounterHideTheOthers) {
  Take({Row("a", 1000, 20), Row("b", 30, 40)});
  EXPECT_FALSE(Take({Row("a", 900, 20), Row("b", 31, 40)}));
  EXPECT_FALSE(Take({Row("a", 800, 20), Row("b", 32, 40)}));
  EXPECT_TRUE(Take({Row("a", 700, 20), Row("b", 33, 40)}));
  EXPECT_FALSE(table_.Find("a").is_measured);
  EXPECT_TRUE(table_.Find("b").is_measured);
  EXPECT_EQ(table_.Find("b").in, 33U);
}

TEST_F(CounterTableTest, ARowWithoutACounterIsUnmeasuredAndHoldsNothingBack) {
  EXPECT_TRUE(Take({Row("a", 10, std::nullopt), Row("b", std::nullopt, std::nullopt)}));
  EXPECT_FALSE(table_.Find("a").is_measured);
  EXPECT_FALSE(table_.Find("b").is_measured);
  EXPECT_TRUE(Take({Row("a", 15, 25)}));
  EXPECT_TRUE(table_.Find("a").is_measured);
  EXPECT_EQ(table_.Find("a").out, 25U);
}

TEST_F(CounterTableTest, ARowThatIsGoneIsUnmeasuredAndGoesOnWhenItComesBack) {
  Take({Row("a", 4'000, 20)});
  EXPECT_TRUE(Take({}));
  EXPECT_FALSE(table_.Find("a").is_measured);
  EXPECT_TRUE(Take({Row("a", 4'100, 20)}));
  EXPECT_EQ(table_.Find("a").in, 4'100U);
}

TEST_F(CounterTableTest, ForgetsRowsThatStayAway) {
  Take({Row("a", 4'000, 20)});
  ticks_ += CounterTable::kMaxAbsentTicks + 1;
  Take({});
  EXPECT_TRUE(Take({Row("a", 5, 5)}));  // a gap, were it the same row
  EXPECT_EQ(table_.Find("a").in, 5U);
}

TEST_F(CounterTableTest, KeepsOnlySoManyRowsThatAreGone) {
  std::vector<CounterRow> rows;
  for (std::size_t i = 0; i < CounterTable::kMaxAbsent; ++i) rows.push_back(Row("row" + std::to_string(i), 4'000, 20));
  Take(rows);
  Take({});
  EXPECT_FALSE(Take({Row("row0", 5, 5)})) << "as many as may be gone are kept";

  CounterTable other;
  rows.push_back(Row("one more", 4'000, 20));
  other.Take(rows, {.now_ticks = 1'000, .device_starts = 0});
  other.Take({}, {.now_ticks = 4'000, .device_starts = 0});
  EXPECT_TRUE(other.Take({Row("row0", 5, 5)}, {.now_ticks = 7'000, .device_starts = 0}));
  EXPECT_EQ(other.Find("row0").in, 5U);
}

}  // namespace
}  // namespace probe::snmp
