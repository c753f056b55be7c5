#include "probe/sources/snmp/object_reader.h"
#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/request_channel.h"
#include "probe/sources/snmp/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace probe::snmp {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Le;

/// Answers each object with its last number, unless it is told otherwise.
class FakeChannel : public RequestChannel {
 public:
  ExchangeAnswer Get(const std::vector<Oid>& objects) override {
    sizes.push_back(objects.size());
    ExchangeAnswer answer;
    for (const Oid& object : objects) {
      answer.values.push_back(
          {.oid = object, .value = {.type = ValueType::kGauge32, .content = std::uint64_t{object.back()}}});
    }
    if (distort) distort(objects, answer);
    return answer;
  }
  ExchangeAnswer Next(const std::vector<Oid>& /*objects*/, int /*repetitions*/) override {
    return {.failure = Failure::kBadAnswer};
  }
  bool CanRepeat() const override { return true; }

  std::function<void(const std::vector<Oid>& objects, ExchangeAnswer& answer)> distort;
  std::vector<std::size_t> sizes;
};

std::vector<Oid> Objects(std::uint32_t count) {
  std::vector<Oid> objects;
  for (std::uint32_t i = 1; i <= count; ++i) objects.push_back({1, 3, i});
  return objects;
}

class ObjectReaderTest : public ::testing::Test {
 protected:
  /// What was answered for each object: its number, "missing" or "null".
  std::vector<std::string> Read(std::uint32_t count) {
    answer_ = reader_.Read(channel_, Objects(count));
    std::vector<std::string> words;
    for (const VarBind& value : answer_.values) {
      if (value.value.type == ValueType::kNoSuchObject) {
        words.emplace_back("missing");
      } else if (value.value.type == ValueType::kNull) {
        words.emplace_back("null");
      } else {
        words.push_back(std::to_string(std::get<std::uint64_t>(value.value.content)));
      }
    }
    return words;
  }

  /// The agent answers with this error as long as object number `bad` is asked for.
  void AnswerError(std::uint32_t bad, int status, bool tells_index) {
    channel_.distort = [=](const std::vector<Oid>& objects, ExchangeAnswer& answer) {
      for (std::size_t i = 0; i < objects.size(); ++i) {
        if (objects[i].back() == bad) {
          answer = {.error_status = status, .error_index = tells_index ? static_cast<int>(i) + 1 : 0};
        }
      }
    };
  }

  FakeChannel channel_;
  ObjectReader reader_;
  ObjectsAnswer answer_;
};

TEST_F(ObjectReaderTest, AnswersInTheOrderOfTheQuestion) {
  EXPECT_THAT(Read(3), ElementsAre("1", "2", "3"));
  EXPECT_EQ(answer_.values[1].oid, (Oid{1, 3, 2}));
  EXPECT_EQ(answer_.failure, Failure::kNone);
}

TEST_F(ObjectReaderTest, AsksNothingForNoObjects) {
  EXPECT_THAT(Read(0), IsEmpty());
  EXPECT_THAT(channel_.sizes, IsEmpty());
}

TEST_F(ObjectReaderTest, SpreadsManyObjectsOverRequests) {
  EXPECT_EQ(Read(33).size(), 33U);
  EXPECT_THAT(channel_.sizes, ElementsAre(32, 1));
}

TEST_F(ObjectReaderTest, LeavesOutWhatVersion1AgentsDoNotHave) {
  AnswerError(2, kNoSuchName, true);

  EXPECT_THAT(Read(4), ElementsAre("1", "missing", "3", "4"));
  EXPECT_THAT(channel_.sizes, ElementsAre(4, 3));
}

TEST_F(ObjectReaderTest, AsksOneByOneWhenTheAgentDoesNotSayWhichIsMissing) {
  AnswerError(2, kNoSuchName, false);

  EXPECT_THAT(Read(3), ElementsAre("1", "missing", "3"));
}

TEST_F(ObjectReaderTest, GivesNullForWhatTheAgentCannotRead) {
  AnswerError(3, kGenErr, true);

  EXPECT_THAT(Read(3), ElementsAre("1", "2", "null"));
}

TEST_F(ObjectReaderTest, AsksForFewerWhenTheAnswerIsTooBigAndRemembersIt) {
  channel_.distort = [](const std::vector<Oid>& objects, ExchangeAnswer& answer) {
    if (objects.size() > 3) answer = {.error_status = kTooBig};
  };

  EXPECT_THAT(Read(8), ElementsAre("1", "2", "3", "4", "5", "6", "7", "8"));
  channel_.sizes.clear();
  EXPECT_EQ(Read(8).size(), 8U);
  EXPECT_THAT(channel_.sizes, Each(Le(3U)));
}

TEST_F(ObjectReaderTest, FailsAsAWhole) {
  channel_.distort = [](const std::vector<Oid>& /*objects*/, ExchangeAnswer& answer) {
    answer = {.failure = Failure::kNoReply, .error = "no reply"};
  };
  EXPECT_THAT(Read(2), IsEmpty());
  EXPECT_EQ(answer_.failure, Failure::kNoReply);
  EXPECT_EQ(answer_.error, "no reply");

  AnswerError(1, kAuthorizationError, true);
  EXPECT_THAT(Read(2), IsEmpty());
  EXPECT_EQ(answer_.failure, Failure::kRefused);
  EXPECT_EQ(answer_.error, "the device answered authorizationError for 1.3.1");

  AnswerError(1, kTooBig, true);
  EXPECT_THAT(Read(1), IsEmpty());
  EXPECT_EQ(answer_.failure, Failure::kBadAnswer);
}

TEST_F(ObjectReaderTest, RefusesAnswersAboutOtherObjects) {
  channel_.distort = [](const std::vector<Oid>& /*objects*/, ExchangeAnswer& answer) { answer.values.pop_back(); };
  EXPECT_THAT(Read(2), IsEmpty());
  EXPECT_EQ(answer_.failure, Failure::kBadAnswer);

  channel_.distort = [](const std::vector<Oid>& /*objects*/, ExchangeAnswer& answer) { answer.values[0].oid = {1, 4}; };
  EXPECT_THAT(Read(2), IsEmpty());
  EXPECT_EQ(answer_.error, "the device answered other objects than it was asked for");
}

}  // namespace
}  // namespace probe::snmp
