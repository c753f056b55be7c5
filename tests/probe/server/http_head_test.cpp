#include "probe/server/http/http_head.h"

#include <gmock/gmock.h>

#include <string>

namespace {

TEST(HeadReader, IgnoresEmptyLinesBeforeARequestHoweverTheyAreCut) {
  probe::HeadReader reader;
  for (const char octet : std::string("\r\n\r\nGET /x HTTP/1.1\r\nHost: localhost\r\n\r"))
    ASSERT_EQ(reader.Add({&octet, 1}), probe::HeadReader::State::kIncomplete) << int{octet};
  ASSERT_EQ(reader.Add("\n"), probe::HeadReader::State::kComplete);
  const auto head = reader.Take();
  ASSERT_TRUE(head.has_value()) << reader.error().text;
  EXPECT_EQ(head->method, "GET");
  EXPECT_EQ(head->path, "/x");
}

}  // namespace
