#include "probe/recording/recording_line.h"

#include <gtest/gtest.h>

#include <string>

#include "probe/recording/json_object_reader.h"

namespace {

using namespace probe::recording;

template <typename Wanted>
Wanted Read(const char* text) {
  return std::get<Wanted>(ParseLine(text));
}

/// Why a line is refused; empty when it is not.
std::string Refusal(const std::string& text, bool is_header = false) {
  try {
    if (is_header) {
      ParseHeader(text);
    } else {
      ParseLine(text);
    }
  } catch (const probe::recording::MalformedRecording& error) {
    return error.what();
  }
  return {};
}

TEST(RecordingHeader, TellsStartAndTimezone) {
  const Header header = ParseHeader(R"({"recording": 1, "start": 1795219200, "timezone": "Europe/Berlin"})");
  EXPECT_EQ(header.start, 1795219200);
  EXPECT_EQ(header.timezone, "Europe/Berlin");
  EXPECT_EQ(ParseHeader(R"({"recording": 1, "start": 0})").timezone, "UTC");
}

TEST(RecordingHeader, IsRefusedWithAReason) {
  EXPECT_EQ(Refusal(R"({"recording": 2, "start": 0})", true), "recording must be 1");
  EXPECT_EQ(Refusal(R"({"recording": 1})", true), "start is missing");
  EXPECT_EQ(Refusal(R"({"recording": 1, "start": 0, "timezone": "Mars/Olympus"})", true),
            "unknown timezone Mars/Olympus");
  EXPECT_EQ(Refusal(R"({"recording": 1, "start": 0, "timezone": "../passwd"})", true), "unknown timezone ../passwd");
  for (const char* zone : {"zone.tab", "tzdata.zi", "localtime", "posixrules", "./UTC", "Europe"}) {
    const std::string line = R"({"recording": 1, "start": 0, "timezone": ")" + std::string(zone) + "\"}";
    EXPECT_EQ(Refusal(line, true), "unknown timezone " + std::string(zone));
  }
  EXPECT_EQ(Refusal(R"({"recording": 1, "start": 0, "timezone": "UTC\u0000x"})", true), R"(unknown timezone UTC\x00x)");
  EXPECT_EQ(Refusal(R"({"recording": 1, "start": 1e999})", true), "no JSON: a number is too large");
  EXPECT_EQ(Refusal(R"([1])", true), "the line must be an object");
}

TEST(RecordingLine, IsReadByItsOneKey) {
  EXPECT_EQ(Read<SetDevice>(R"({"device": {"mac": "A", "set": {"cpu": 1}}})").state.dump(), R"({"cpu":1})");
  EXPECT_EQ(Read<MergeDevice>(R"({"device": {"mac": "A", "merge": {"cpu": null}}})").patch.dump(), R"({"cpu":null})");
  EXPECT_EQ(Read<ForgetDevice>(R"({"device": {"mac": "A", "forget": true}})").mac, "A");
  EXPECT_EQ(Read<CleanUp>(R"({"cleanup": ""})").mac, "");
  EXPECT_EQ(Read<SetClock>(R"({"clock": -5})").seconds, -5);
  EXPECT_EQ(Read<Unsubscribe>(R"({"unsubscribe": {"topic": "T", "connection": "c", "sid": "a"}})").sid, "a");
  EXPECT_EQ(Read<Disconnect>(R"({"disconnect": "c"})").connection, "c");
  EXPECT_FALSE(Read<SetSender>(R"({"sender": false})").is_installed);
  EXPECT_TRUE(std::holds_alternative<Stop>(ParseLine(R"({"stop": {}})")));
}

TEST(RecordingLine, RunsOnePassAMinuteLaterByDefault) {
  const auto passes = Read<RunPasses>(R"({"pass": {}})");
  EXPECT_EQ(passes.at, std::nullopt);
  EXPECT_EQ(passes.after, 60);
  EXPECT_EQ(passes.repeat, 1U);
  EXPECT_EQ(Read<RunPasses>(R"({"pass": {"at": 7}})").at, 7);
  EXPECT_EQ(Read<RunPasses>(R"({"pass": {"after": 61, "repeat": 9}})").repeat, 9U);
}

TEST(RecordingLine, TakesAnyRequestOfASubscription) {
  EXPECT_EQ(Read<Subscribe>(R"({"subscribe": {"topic": "T", "connection": "c", "request": [1]}})").request.dump(),
            "[1]");
  EXPECT_TRUE(
      Read<Subscribe>(R"({"subscribe": {"topic": "T", "connection": "c", "request": null}})").request.is_null());
  EXPECT_TRUE(Read<Subscribe>(R"({"subscribe": {"topic": "T", "connection": "c"}})").request.is_null());
}

TEST(RecordingLine, TakesARequestAsDeepAsAProbeTakesOne) {
  const auto with_depth = [](std::size_t depth) {
    return R"({"subscribe": {"topic": "T", "connection": "c", "request": )" + std::string(depth, '[') +
           std::string(depth, ']') + "}}";
  };
  EXPECT_EQ(Refusal(with_depth(30)), "");
  EXPECT_EQ(Refusal(with_depth(31)), "nested too deeply");
}

TEST(RecordingLine, EndsWhereItsTextEnds) {
  const std::string line = R"({"pass": {}})";
  EXPECT_EQ(Refusal(line + '\0'), "no JSON: at octet 13");
  EXPECT_EQ(Refusal(line + '\0' + R"({"stop": {}} junk)"), "no JSON: at octet 13");
  EXPECT_EQ(Refusal(line + ' '), "");
}

TEST(RecordingLine, IsRefusedInOneLine) {
  EXPECT_EQ(Refusal(R"({"a\nb\u0000\u001b[1m": 1})"), R"(unknown key a\x0ab\x00\x1b[1m)");
}

TEST(RecordingLine, TakesTheExactTextOfAReportRequest) {
  EXPECT_EQ(Read<CallReport>(R"({"call": {"entry": "get_wireless_client_report", "request": "{"}})").request, "{");
  EXPECT_EQ(Read<CallReport>(R"({"call": {"entry": "get_wireless_client_report"}})").request, std::nullopt);
  EXPECT_EQ(
      Read<CallTraffic>(R"({"call": {"entry": "GetInterfaceTraffic", "mac": "A", "interface": "ge1"}})").interface,
      "ge1");
}

struct RefusedLine {
  const char* text;
  const char* reason;
};
class RecordingLineRefusal : public ::testing::TestWithParam<RefusedLine> {};

TEST_P(RecordingLineRefusal, TellsTheReason) {
  EXPECT_EQ(Refusal(GetParam().text), GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, RecordingLineRefusal,
    ::testing::Values(RefusedLine{"{", "no JSON: at octet 2"},
                      RefusedLine{"{\"cleanup\": \"\xff\"}", "no JSON: at octet 14"},
                      RefusedLine{R"({"clock": 1e400})", "no JSON: a number is too large"},
                      RefusedLine{R"({"clock": 5, "clock": 7})", "duplicate member clock"},
                      RefusedLine{R"({"device": {"mac": "A", "set": {"cpu": 1, "cpu": 2}}})", "duplicate member cpu"},
                      RefusedLine{"[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[", "nested too deeply"},
                      RefusedLine{"[]", "the line must be an object with one key"},
                      RefusedLine{"{}", "the line must be an object with one key"},
                      RefusedLine{R"({"clock": 1, "pass": {}})", "the line must be an object with one key"},
                      RefusedLine{R"({"oops": 1})", "unknown key oops"},
                      RefusedLine{R"({"clock": "x"})",
                                  "clock must be a whole number from -9223372036854775808 to 9223372036854775807"},
                      RefusedLine{R"({"clock": null})", "clock is missing"},
                      RefusedLine{R"({"device": {"set": {}}})", "device.mac is missing"},
                      RefusedLine{R"({"device": {"mac": "A"}})", "device must have one of set, merge and forget"},
                      RefusedLine{R"({"device": {"mac": "A", "set": {}, "merge": {}}})",
                                  "device must have one of set, merge and forget"},
                      RefusedLine{R"({"device": {"mac": "A", "set": 1}})", "device.set must be an object"},
                      RefusedLine{R"({"device": {"mac": "A", "sett": {}}})", "unknown member device.sett"},
                      RefusedLine{R"({"pass": {"at": 1, "after": 1}})", "pass has both at and after"},
                      RefusedLine{R"({"pass": {"at": 1, "repeat": 2}})", "a pass with at cannot be repeated"},
                      RefusedLine{R"({"pass": {"repeat": 0}})", "pass.repeat must be 1 or more"},
                      RefusedLine{R"({"sender": 1})", "sender must be true or false"},
                      RefusedLine{R"({"call": {"entry": "main"}})", "unknown entry point main"},
                      RefusedLine{R"({"call": {"entry": "GetInterfaceTraffic", "mac": "A"}})",
                                  "call.interface is missing"},
                      RefusedLine{R"({"subscribe": {"topic": "T"}})", "subscribe.connection is missing"},
                      RefusedLine{R"({"stop": {"now": true}})", "unknown member stop.now"}),
    [](const auto& line) { return "Line" + std::to_string(line.index); });

}  // namespace
