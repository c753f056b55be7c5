#include "probe/sources/snmp/walk_agent.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/test_folder.h"

namespace probe::snmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(WalkAgent, ReadsEveryTypeOfAWalk) {
  const WalkAgent agent(
      "1.3.1|2|-5\n"
      "1.3.2|4|two words\n"
      "1.3.3|4x|00ffA0\n"
      "1.3.4|5|\n"
      "1.3.5|6|1.3.6.1\n"
      "1.3.6|64|192.0.2.1\n"
      "1.3.7|64x|c0000201\n"
      "1.3.8|65|4294967295\n"
      "1.3.9|66|7\n"
      "1.3.10|67|8\n"
      "1.3.11|70|18446744073709551615\n");
  const std::string address = {'\xc0', '\x00', '\x02', '\x01'};
  EXPECT_THAT(agent.objects(), ElementsAre(VarBind{{1, 3, 1}, {ValueType::kInteger, std::int64_t{-5}}},
                                           VarBind{{1, 3, 2}, {ValueType::kOctets, std::string("two words")}},
                                           VarBind{{1, 3, 3}, {ValueType::kOctets, std::string("\0\xff\xa0", 3)}},
                                           VarBind{{1, 3, 4}, {ValueType::kNull, {}}},
                                           VarBind{{1, 3, 5}, {ValueType::kObjectId, Oid{1, 3, 6, 1}}},
                                           VarBind{{1, 3, 6}, {ValueType::kIpAddress, address}},
                                           VarBind{{1, 3, 7}, {ValueType::kIpAddress, address}},
                                           VarBind{{1, 3, 8}, {ValueType::kCounter32, std::uint64_t{4294967295U}}},
                                           VarBind{{1, 3, 9}, {ValueType::kGauge32, std::uint64_t{7}}},
                                           VarBind{{1, 3, 10}, {ValueType::kTimeTicks, std::uint64_t{8}}},
                                           VarBind{{1, 3, 11}, {ValueType::kCounter64, ~std::uint64_t{0}}}));
  EXPECT_THAT(agent.left_out(), IsEmpty());
}

TEST(WalkAgent, SortsLinesByTheirNumbersNotByTheirText) {
  const WalkAgent agent("1.3.10|2|3\n1.3.9|2|2\n1.3|2|1\n");
  std::vector<Oid> oids;
  for (const VarBind& object : agent.objects()) oids.push_back(object.oid);
  EXPECT_THAT(oids, ElementsAre(Oid{1, 3}, Oid{1, 3, 9}, Oid{1, 3, 10}));
}

TEST(WalkAgent, TakesTheFirstOfTwoLinesForTheSameObject) {
  const WalkAgent agent("1.3.1|2|1\n1.3.1|2|2\n");
  EXPECT_THAT(agent.objects(), ElementsAre(VarBind{{1, 3, 1}, {ValueType::kInteger, std::int64_t{1}}}));
}

TEST(WalkAgent, LeavesOutWhatItCannotReadAndSaysWhy) {
  const WalkAgent agent(
      "# a comment\n"
      "\r\n"
      "1.3.1|66:numeric|rate=1\n"
      "nothing\n"
      "1.3.2|2\n"
      "sysUpTime|2|1\n"
      "1.3.3|99|1\n"
      "1.3.4|2|\n"
      "1.3.5|65|4294967296\n"
      "1.3.6|4x|abc\n"
      "1.3.7|64|192.0.2.256\n"
      "1.3.8|65|-1\n"
      "1.3.9|2x|00\n"
      "1.3.10|4|kept\r\n");
  EXPECT_THAT(agent.left_out(), ElementsAre("line 3: holds a formula of a simulator, no value",  //
                                            "line 4: is not \"OID|type|value\"",                 //
                                            "line 5: is not \"OID|type|value\"",                 //
                                            "line 6: begins with no OID",                        //
                                            "line 7: has the unknown type \"99\"",               //
                                            "line 8: has a value that does not fit its type",    //
                                            "line 9: has a value that does not fit its type",    //
                                            "line 10: has a value that does not fit its type",   //
                                            "line 11: has a value that does not fit its type",   //
                                            "line 12: has a value that does not fit its type",   //
                                            "line 13: has a value that does not fit its type"));
  EXPECT_THAT(agent.objects(), ElementsAre(VarBind{{1, 3, 10}, {ValueType::kOctets, std::string("kept")}}));
}

TEST(WalkAgent, KeepsAValueWithABarInIt) {
  const WalkAgent agent("1.3.1|4|a|b|");
  EXPECT_THAT(agent.objects(), ElementsAre(VarBind{{1, 3, 1}, {ValueType::kOctets, std::string("a|b|")}}));
}

TEST(WalkAgent, AnswersObjectsInTheOrderOfTheQuestion) {
  WalkAgent agent("1.3.1|2|1\n1.3.2|2|2\n");
  const ObjectsAnswer answer = agent.Get({{1, 3, 2}, {1, 3}, {1, 3, 1}});
  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.values, ElementsAre(VarBind{{1, 3, 2}, {ValueType::kInteger, std::int64_t{2}}},
                                         VarBind{{1, 3}, {ValueType::kNoSuchInstance, {}}},
                                         VarBind{{1, 3, 1}, {ValueType::kInteger, std::int64_t{1}}}));
}

TEST(WalkAgent, ReadsTheColumnsOfATableAndNothingBehindThem) {
  WalkAgent agent("1.3.1|2|0\n1.3.1.7|2|1\n1.3.1.9|2|2\n1.3.10.1|2|3\n1.3.2.7|2|4\n");
  const TableAnswer answer = agent.ReadTable({{1, 3, 2}, {1, 3, 1}, {1, 4}}, 2);
  EXPECT_EQ(answer.failure, Failure::kNone);
  EXPECT_THAT(answer.columns, ElementsAre(ElementsAre(VarBind{{1, 3, 2, 7}, {ValueType::kInteger, std::int64_t{4}}}),
                                          ElementsAre(VarBind{{1, 3, 1, 7}, {ValueType::kInteger, std::int64_t{1}}},
                                                      VarBind{{1, 3, 1, 9}, {ValueType::kInteger, std::int64_t{2}}}),
                                          IsEmpty()));
}

TEST(WalkAgent, EndsATableThatHasMoreRowsThanMayBeRead) {
  WalkAgent agent("1.3.1.1|2|1\n1.3.1.2|2|2\n1.3.1.3|2|3\n");
  EXPECT_EQ(agent.ReadTable({{1, 3, 1}}, 3).failure, Failure::kNone);
  const TableAnswer answer = agent.ReadTable({{1, 3, 1}}, 2);
  EXPECT_EQ(answer.failure, Failure::kTooManyRows);
  EXPECT_EQ(answer.error, "more than 2 rows");
}

TEST(WalkAgent, WritesLinesThatItReadsAgain) {
  const std::string text =
      "1.3.1|2|-5\n1.3.2|4|plain text\n1.3.3|4x|00ffa0\n1.3.4|5|\n1.3.5|6|1.3.6.1\n1.3.6|64x|c0000201\n"
      "1.3.7|65|1\n1.3.8|66|7\n1.3.9|67|8\n1.3.10|70|18446744073709551615\n";
  std::string written;
  const WalkAgent agent(text);
  for (const VarBind& object : agent.objects()) written += WalkLine(object) + "\n";
  EXPECT_EQ(written, text);
}

TEST(WalkAgent, WritesNoLineForAnException) {
  EXPECT_EQ(WalkLine({{1, 3}, {ValueType::kNoSuchObject, {}}}), "");
}

TEST(WalkAgent, RefusesAFileThatItCannotRead) {
  const test::TestFolder folder;
  EXPECT_THROW(ReadWalk(folder.Path("missing.snmprec")), std::runtime_error);
  EXPECT_EQ(ReadWalk(folder.Write("walk.snmprec", "1.3.1|2|1\n")).objects().size(), 1U);
}

}  // namespace
}  // namespace probe::snmp
