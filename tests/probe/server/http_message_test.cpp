#include "probe/server/http/http_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace probe {
namespace {

TEST(HttpMessage, EqualBodiesHaveOneEtagAndOthersAnother) {
  EXPECT_EQ(EtagOf("a"), EtagOf("a"));
  EXPECT_EQ((std::set{EtagOf(""), EtagOf("a"), EtagOf("b"), EtagOf("ab"), EtagOf("ba")}).size(), 5U);
  EXPECT_THAT(EtagOf("a"), ::testing::MatchesRegex("\"[0-9a-f-]+\""));
}

TEST(HttpMessage, IfNoneMatchIsAListOfEtags) {
  EXPECT_TRUE(NamesEtag("\"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("W/\"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("\"x\" , \"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("*", "\"a\""));
  EXPECT_FALSE(NamesEtag("", "\"a\""));
  EXPECT_FALSE(NamesEtag("\"ab\"", "\"a\""));
  EXPECT_FALSE(NamesEtag(",,", "\"a\""));
  EXPECT_FALSE(NamesEtag("*", "")) << "an answer without one is always sent";
}

TEST(HttpMessage, AnErrorHasACodeForProgramsAndAMessageForPeople) {
  const HttpAnswer answer = ErrorAnswer(404, "unknown_period", "There is none.");
  EXPECT_EQ(answer.status, 404U);
  EXPECT_EQ(*answer.body, "{\"error\":{\"code\":\"unknown_period\",\"message\":\"There is none.\"}}\n");
  EXPECT_EQ(answer.caching, Caching::kNoStore);
}

TEST(HttpMessage, EveryStatusOfARefusalHasACode) {
  std::set<std::string> codes;
  for (const unsigned status : {400U, 401U, 403U, 404U, 405U, 421U, 429U, 503U}) codes.insert(CodeOfStatus(status));
  EXPECT_EQ(codes.size(), 8U);
  EXPECT_FALSE(codes.contains("error"));
}

}  // namespace
}  // namespace probe
