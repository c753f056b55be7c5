#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading_text.h"
#include "probe/sources/snmp/walk_agent.h"

namespace probe::snmp {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::string kGuide = VEXORA_DOCS "/profiles.md";
const std::string kExample = VEXORA_DOCS "/examples/cafe_ap";

std::string Content(const std::string& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// What stands in the TOML blocks of the guide, one after the other.
std::string BlocksOfGuide() {
  const std::string guide = Content(kGuide);
  const std::string begin = "```toml\n";
  std::string blocks;
  for (std::size_t at = guide.find(begin); at != std::string::npos; at = guide.find(begin, at)) {
    at += begin.size();
    const std::size_t end = guide.find("```", at);
    blocks += (blocks.empty() ? "" : "\n") + guide.substr(at, end - at);
    at = end;
  }
  return blocks;
}

Profile Example() {
  return CheckProfile(kExample + ".toml", {VEXORA_PROFILES});
}

TEST(ProfileGuide, WritesTheExampleStepByStep) {
  EXPECT_EQ(Content(kExample + ".toml"),
            "# The profile that docs/profiles.md writes, step by step.\n\n" + BlocksOfGuide());
}

TEST(ProfileGuide, ReadsItsWalkWithItsProfile) {
  WalkAgent walk = ReadWalk(kExample + ".snmprec");
  EXPECT_THAT(walk.left_out(), IsEmpty());
  const Reading reading = ReadDevice(Example(), walk).reading.value();
  EXPECT_THAT(reading.errors, IsEmpty());
  EXPECT_EQ(reading.system.cpu_percent, 17);
  EXPECT_EQ(reading.system.version, "4.1.7");
  EXPECT_EQ(reading.system.mac, "00:00:5e:00:53:00");
  ASSERT_EQ(reading.radios.value().size(), 2U);
  EXPECT_EQ((*reading.radios)[0].noise_dbm, -95);
  EXPECT_EQ((*reading.radios)[1].noise_dbm, std::nullopt);
  EXPECT_EQ((*reading.radios)[1].channel, 36);
  ASSERT_EQ(reading.stations.value().size(), 1U);
  EXPECT_EQ((*reading.stations)[0].ssid_interface, "cafe (radio0)");
}

TEST(ProfileGuide, ShowsWhatTheCheckPrints) {
  WalkAgent walk = ReadWalk(kExample + ".snmprec");
  const std::string text = ReadingText(ReadDevice(Example(), walk).reading.value());
  const std::size_t begin = text.find("SSIDs: ");
  std::string indented;
  for (const char character : text.substr(begin, text.find("stations: ") - begin)) {
    if (indented.empty() || indented.back() == '\n') indented += "    ";
    indented += character;
  }
  EXPECT_THAT(Content(kGuide), HasSubstr(indented));
}

TEST(ProfileGuide, QuotesLinesOfItsWalk) {
  const std::string walk = Content(kExample + ".snmprec");
  const std::string guide = Content(kGuide);
  const std::string begin = "\n    1.3.6.";
  int quoted = 0;
  for (std::size_t at = guide.find(begin); at != std::string::npos; at = guide.find(begin, at + 1)) {
    const std::size_t line = at + begin.size() - 6;
    EXPECT_THAT(walk, HasSubstr("\n" + guide.substr(line, guide.find('\n', line) - line) + "\n"));
    ++quoted;
  }
  EXPECT_EQ(quoted, 16);
}

TEST(ProfileGuide, ShowsAnErrorAsItIsTold) {
  std::string wrong = Content(kExample + ".toml");
  wrong.replace(wrong.find("scale = 0.01"), 5, "scal ");
  try {
    ParseProfile(wrong, "cafe_ap", "cafe_ap.toml", {VEXORA_PROFILES});
    FAIL() << "a key that there is not was taken";
  } catch (const ProfileError& error) {
    const std::string text = error.what();
    EXPECT_THAT(Content(kGuide), HasSubstr(text.substr(0, text.find("\"oid\"")) + "\"oid\", ..."));
  }
}

}  // namespace
}  // namespace probe::snmp
