#include "probe/replay/replay_output.h"
#include "probe/host/log.h"

#include <gtest/gtest.h>

#include <sstream>

#include "probe/text/utf8.h"

namespace {

TEST(ReplayOutput, WritesOctetsThatAreNoTextAsAMessageWouldHaveThem) {
  const std::string cut = "caf\xE2\x82|\xC3|\xF0\x9F\x98";  // three characters, each cut short
  std::ostringstream stream;
  probe::ReplayOutput output(stream);
  output.Push(1, 60, "desk", probe::ReplaceInvalidUtf8(cut));
  output.Return("report", 60, cut);
  output.Log(probe::log::Level::kError, 2, cut);
  output.Flush();
  const std::string text = "caf\uFFFD|\uFFFD|\uFFFD";
  EXPECT_EQ(stream.str(), R"({"push":{"pass":1,"at":60,"connection":"desk","text":")" + text + "\"}}\n" +
                              R"({"return":{"entry":"report","at":60,"text":")" + text + "\"}}\n" +
                              R"({"log":{"level":"error","module":2,"text":")" + text + "\"}}\n");
}

}  // namespace
