// Websocket frames octet by octet, as no well-behaved client sends them, with what each has to lead to.

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::HasSubstr;

using namespace std::string_literals;

/// What a client sends after the handshake, and what comes back.
struct RawFrames {
  std::string name;
  std::string octets;
  int close_code = 0;  ///< With which the server closes; 0: it does not, and answers the next message.
};

void PrintTo(const RawFrames& frames, std::ostream* out) {
  *out << frames.name;
}

std::string NameOfFrames(const ::testing::TestParamInfo<RawFrames>& info) {
  return info.param.name;
}

// The first octet of a frame.
constexpr int kLast = 0x80;
constexpr int kContinuation = 0;
constexpr int kText = 1;
constexpr int kBinary = 2;
constexpr int kClose = 8;
constexpr int kPing = 9;
constexpr int kPong = 10;

std::string Octets(std::uint64_t value, int count) {
  std::string octets;
  for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) octets += static_cast<char>((value >> shift) & 0xff);
  return octets;
}

/// A frame that is masked with nothing but zeroes, which leave the payload as it is.
std::string Frame(int first, const std::string& payload = "") {
  std::string length = Octets(0x80U | payload.size(), 1);
  if (payload.size() > 125) length = "\xfe" + Octets(payload.size(), 2);
  return Octets(static_cast<std::uint64_t>(first), 1) + length + std::string(4, '\0') + payload;
}

/// The same, with its length in 16 or 64 bits whether it needs them or not.
std::string FrameWithLength(int first, int octets_of_length, std::uint64_t length, const std::string& payload = "") {
  return Octets(static_cast<std::uint64_t>(first), 1) + (octets_of_length == 2 ? "\xfe" : "\xff") +
         Octets(length, octets_of_length) + std::string(4, '\0') + payload;
}

std::string Unmasked(int first, const std::string& payload = "") {
  return Octets(static_cast<std::uint64_t>(first), 1) + Octets(payload.size(), 1) + payload;
}

std::string CloseFrame(std::uint64_t code, const std::string& reason = "") {
  return Frame(kLast | kClose, Octets(code, 2) + reason);
}

class RawFrameTest : public test::Served, public ::testing::WithParamInterface<RawFrames> {
 protected:
  /// Sends the frames, and expects what they lead to.
  void ExpectTheirEnd(test::RawClient& client);
};

TEST_P(RawFrameTest, LeadToTheirCloseCodeOrToNone) {
  Serve();
  test::RawClient client(server->port());
  ExpectTheirEnd(client);
}

TEST_P(RawFrameTest, DoTheSameOverTls) {
  ServeOverTls();
  test::RawClient client(server->port());
  client.StartTls();
  ExpectTheirEnd(client);
}

void RawFrameTest::ExpectTheirEnd(test::RawClient& client) {
  auto bystander = Subscribed("bystander");
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.Send(GetParam().octets);
  if (GetParam().close_code == 0) client.Send(Frame(kLast | kText, R"({"unsubscribe":{"topic":"T","sid":"last"}})"));
  std::string last;
  while (auto message = client.ReadMessage()) {
    last = *message;
    if (GetParam().close_code == 0 && last.find("unknown_subscription") != std::string::npos) break;
  }
  EXPECT_EQ(client.close_code(), GetParam().close_code);
  if (GetParam().close_code == 0) {
    EXPECT_THAT(last, HasSubstr("unknown_subscription"));
  }
  ExpectServed(bystander);
}

INSTANTIATE_TEST_SUITE_P(Masks, RawFrameTest,
                         ::testing::Values(RawFrames{"UnmaskedText", Unmasked(kLast | kText, "{}"), 1002},
                                           RawFrames{"UnmaskedEmptyText", Unmasked(kLast | kText), 1002},
                                           RawFrames{"UnmaskedBinary", Unmasked(kLast | kBinary, "{}"), 1002},
                                           RawFrames{"UnmaskedPing", Unmasked(kLast | kPing), 1002},
                                           RawFrames{"UnmaskedPong", Unmasked(kLast | kPong), 1002},
                                           RawFrames{"UnmaskedClose", Unmasked(kLast | kClose), 1002},
                                           RawFrames{"UnmaskedContinuation",
                                                     Frame(kText, "{") + Unmasked(kLast | kContinuation, "}"), 1002}),
                         NameOfFrames);

INSTANTIATE_TEST_SUITE_P(ReservedBits, RawFrameTest,
                         ::testing::Values(RawFrames{"Rsv1", Frame(kLast | 0x40 | kText, "{}"), 1002},
                                           RawFrames{"Rsv2", Frame(kLast | 0x20 | kText, "{}"), 1002},
                                           RawFrames{"Rsv3", Frame(kLast | 0x10 | kText, "{}"), 1002},
                                           RawFrames{"AllOfThem", Frame(kLast | 0x70 | kText, "{}"), 1002},
                                           RawFrames{"Rsv1OfBinary", Frame(kLast | 0x40 | kBinary, "{}"), 1002},
                                           RawFrames{"Rsv1OfAContinuation",
                                                     Frame(kText, "{") + Frame(kLast | 0x40, "}"), 1002},
                                           RawFrames{"Rsv1OfAPing", Frame(kLast | 0x40 | kPing), 1002},
                                           RawFrames{"Rsv2OfAPong", Frame(kLast | 0x20 | kPong), 1002},
                                           RawFrames{"Rsv3OfAClose", Frame(kLast | 0x10 | kClose), 1002}),
                         NameOfFrames);

INSTANTIATE_TEST_SUITE_P(
    Opcodes, RawFrameTest,
    ::testing::Values(RawFrames{"Opcode3", Frame(kLast | 3, "{}"), 1002}, RawFrames{"Opcode4", Frame(kLast | 4), 1002},
                      RawFrames{"Opcode5", Frame(kLast | 5), 1002}, RawFrames{"Opcode6", Frame(kLast | 6), 1002},
                      RawFrames{"Opcode7", Frame(kLast | 7), 1002}, RawFrames{"Opcode11", Frame(kLast | 11), 1002},
                      RawFrames{"Opcode12", Frame(kLast | 12), 1002}, RawFrames{"Opcode13", Frame(kLast | 13), 1002},
                      RawFrames{"Opcode14", Frame(kLast | 14), 1002}, RawFrames{"Opcode15", Frame(kLast | 15), 1002}),
    NameOfFrames);

INSTANTIATE_TEST_SUITE_P(
    Fragments, RawFrameTest,
    ::testing::Values(
        RawFrames{"PingInFragments", Frame(kPing), 1002}, RawFrames{"PongInFragments", Frame(kPong), 1002},
        RawFrames{"CloseInFragments", Frame(kClose), 1002},
        RawFrames{"ContinuationOfNothing", Frame(kLast | kContinuation, "{}"), 1002},
        RawFrames{"FirstContinuationOfNothing", Frame(kContinuation, "{}"), 1002},
        RawFrames{"ContinuationAfterTheEnd", Frame(kLast | kText, "{}") + Frame(kLast | kContinuation, "{}"), 1002},
        RawFrames{"TextWithinAText", Frame(kText, "{") + Frame(kLast | kText, "}"), 1002},
        RawFrames{"BinaryWithinAText", Frame(kText, "{") + Frame(kLast | kBinary, "}"), 1002},
        RawFrames{"TextInThree", Frame(kText, "{") + Frame(kContinuation, "") + Frame(kLast | kContinuation, "}"), 0},
        RawFrames{"PingBetweenThem", Frame(kText, "{") + Frame(kLast | kPing, "p") + Frame(kLast | kContinuation, "}"),
                  0},
        RawFrames{"CloseBetweenThem", Frame(kText, "{") + CloseFrame(1000), 1000},
        RawFrames{"EmptyOnesOnly", Frame(kText) + Frame(kContinuation) + Frame(kLast | kContinuation), 0},
        RawFrames{"BinaryInTwo", Frame(kBinary, "\xff") + Frame(kLast | kContinuation, "\xff"), 0}),
    NameOfFrames);

INSTANTIATE_TEST_SUITE_P(
    Lengths, RawFrameTest,
    ::testing::Values(
        RawFrames{"PingOf125", Frame(kLast | kPing, std::string(125, 'p')), 0},
        RawFrames{"PingOf126", Frame(kLast | kPing, std::string(126, 'p')), 1002},
        RawFrames{"CloseOf126", Frame(kLast | kClose, Octets(1000, 2) + std::string(124, 'r')), 1002},
        RawFrames{"PingOf64Bits", FrameWithLength(kLast | kPing, 8, 5, "hello"), 1002},
        RawFrames{"FiveIn16Bits", FrameWithLength(kLast | kText, 2, 5, "hello"), 1002},
        RawFrames{"125In16Bits", FrameWithLength(kLast | kText, 2, 125, std::string(125, ' ')), 1002},
        RawFrames{"126In16Bits", FrameWithLength(kLast | kText, 2, 126, std::string(126, ' ')), 0},
        RawFrames{"FiveIn64Bits", FrameWithLength(kLast | kText, 8, 5, "hello"), 1002},
        RawFrames{"65535In64Bits", FrameWithLength(kLast | kText, 8, 65535, std::string(65535, ' ')), 1002},
        RawFrames{"65536In64Bits", FrameWithLength(kLast | kText, 8, 65536, std::string(65536, ' ')), 0},
        RawFrames{"HighestBitOf64", FrameWithLength(kLast | kText, 8, 1ULL << 63), 1009},
        RawFrames{"AllBitsOf64", FrameWithLength(kLast | kText, 8, ~0ULL), 1009},
        RawFrames{"MoreThan63BitsInTwo", Frame(kText, "{") + FrameWithLength(kLast, 8, (1ULL << 63) - 1), 1009}),
    NameOfFrames);

INSTANTIATE_TEST_SUITE_P(
    Closes, RawFrameTest,
    ::testing::Values(RawFrames{"WithoutACode", Frame(kLast | kClose), 1000},
                      RawFrames{"Code1000", CloseFrame(1000), 1000}, RawFrames{"Code1001", CloseFrame(1001), 1001},
                      RawFrames{"Code1003", CloseFrame(1003), 1003}, RawFrames{"Code1007", CloseFrame(1007), 1007},
                      RawFrames{"Code1011", CloseFrame(1011), 1011}, RawFrames{"Code3000", CloseFrame(3000), 3000},
                      RawFrames{"Code4999", CloseFrame(4999), 4999},
                      RawFrames{"OfOneOctet", Frame(kLast | kClose, "\x03"), 1002},
                      RawFrames{"Code0", CloseFrame(0), 1002}, RawFrames{"Code999", CloseFrame(999), 1002},
                      RawFrames{"Code1004", CloseFrame(1004), 1002}, RawFrames{"Code1005", CloseFrame(1005), 1002},
                      RawFrames{"Code1006", CloseFrame(1006), 1002}, RawFrames{"Code1014", CloseFrame(1014), 1002},
                      RawFrames{"Code1015", CloseFrame(1015), 1002}, RawFrames{"Code1016", CloseFrame(1016), 1002},
                      RawFrames{"Code2999", CloseFrame(2999), 1002}, RawFrames{"Code5000", CloseFrame(5000), 1002},
                      RawFrames{"Code65535", CloseFrame(65535), 1002},
                      RawFrames{"WithAReason", CloseFrame(1000, "good-bye"), 1000},
                      RawFrames{"WithTheLongestReason", CloseFrame(1000, std::string(123, 'r')), 1000},
                      RawFrames{"WithAReasonThatIsNotUtf8", CloseFrame(1000, "\xff"), 1002},
                      RawFrames{"WithACutReason", CloseFrame(1000, "\xe2\x82"), 1002},
                      RawFrames{"FollowedByAMessage", CloseFrame(1000) + Frame(kLast | kText, "{}"), 1000},
                      RawFrames{"Twice", CloseFrame(1000) + CloseFrame(1001), 1000}),
    NameOfFrames);

INSTANTIATE_TEST_SUITE_P(
    Texts, RawFrameTest,
    ::testing::Values(RawFrames{"Empty", Frame(kLast | kText), 0},
                      RawFrames{"Octet255", Frame(kLast | kText, "\xff"), 1007},
                      RawFrames{"Overlong", Frame(kLast | kText, "\xc0\xaf"), 1007},
                      RawFrames{"Surrogate", Frame(kLast | kText, "\xed\xa0\x80"), 1007},
                      RawFrames{"BeyondUnicode", Frame(kLast | kText, "\xf4\x90\x80\x80"), 1007},
                      RawFrames{"CutAtTheEnd", Frame(kLast | kText, "\xe2\x82"), 1007},
                      RawFrames{"CutAtTheEndOfTheLastFragment", Frame(kText, "a") + Frame(kLast, "\xe2\x82"), 1007},
                      RawFrames{"CutBeforeAnEmptyLastFragment", Frame(kText, "\xe2\x82") + Frame(kLast), 1007},
                      RawFrames{"CharacterInTwoFragments", Frame(kText, "\xe2\x82") + Frame(kLast, "\xac"), 0},
                      RawFrames{"BrokenInTheSecondFragment", Frame(kText, "a") + Frame(kLast, "\xff"), 1007},
                      RawFrames{"Nul", Frame(kLast | kText, "\0"s), 0},
                      RawFrames{"BinaryOfAnyOctets", Frame(kLast | kBinary, "\xff\xc0\x80"), 0},
                      RawFrames{"PongThatNobodyAskedFor", Frame(kLast | kPong, "surprise"), 0}),
    NameOfFrames);

class RawWebsocketTest : public test::Served {};

TEST_F(RawWebsocketTest, AnswersAPingWithItsOwnOctets) {
  Serve();
  test::RawClient client(server->port());
  client.Upgrade();
  client.Send(Frame(kLast | kPing, std::string(125, '\xff')));
  const auto pong = client.ReadFrame();
  ASSERT_TRUE(pong.has_value());
  EXPECT_EQ(pong->opcode, kPong);
  EXPECT_EQ(pong->payload, std::string(125, '\xff'));
}

TEST_F(RawWebsocketTest, UnmasksWhatAClientMasked) {
  Serve();
  test::RawClient client(server->port());
  client.Upgrade();
  std::string masked = "[[]]";
  const std::string mask = "\x01\xfe\x37\x80";
  for (std::size_t i = 0; i < masked.size(); ++i) masked[i] = static_cast<char>(masked[i] ^ mask[i]);
  client.Send("\x81\x84" + mask + masked);
  EXPECT_THAT(client.ReadMessage().value_or(""), HasSubstr("unknown_message"));
}

TEST_F(RawWebsocketTest, ReadsFramesThatComeOctetByOctet) {
  Serve();
  test::RawClient client(server->port());
  client.Upgrade();
  for (const char octet : FrameWithLength(kLast | kText, 2, 130, "{}" + std::string(128, ' ')))
    client.Send(std::string(1, octet));
  EXPECT_THAT(client.ReadMessage().value_or(""), HasSubstr("unknown_message"));
}

TEST_F(RawWebsocketTest, EndsWithAClientThatEndsWithinAFrame) {
  Serve();
  for (const std::string& part : {""s, "\x81"s, "\x81\xfe"s, "\x81\x85\0\0\0\0ab"s, Frame(kText, "{")}) {
    test::RawClient client(server->port());
    client.Upgrade();
    client.SendFrame(kText, test::SubscribeText({"a"}));
    ASSERT_THAT(client.ReadMessage().value_or(""), HasSubstr("subscribed"));
    client.Send(part);
    client.EndSending();
    client.ReadAll();
    EXPECT_TRUE(test::Eventually([&] { return Handles().empty(); }));
  }
}

class FloodTest : public test::Served, public ::testing::WithParamInterface<RawFrames> {
 protected:
  std::string Repeated(int count) const {
    std::string flood;
    for (int i = 0; i < count; ++i) flood += GetParam().octets;
    return flood;
  }
};

TEST_P(FloodTest, ClosesTheConnectionWith1008AndHarmsNobody) {
  settings.limits.messages_per_second = 2;
  Serve();
  auto bystander = Subscribed("bystander");
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendFrame(kText, "{", false);
  client.Send(Repeated(2000));
  while (client.ReadMessage()) {
  }
  EXPECT_EQ(client.close_code(), 1008);
  EXPECT_TRUE(IsLogged("limits.messages_per_second = 2"));
  ExpectServed(bystander);
}

TEST_P(FloodTest, IsNoneWhenItIsSmall) {
  settings.limits.messages_per_second = 2;
  Serve();
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendFrame(kText, "{", false);
  client.Send(Repeated(20) + Frame(kLast | kContinuation, "}"));
  ASSERT_TRUE(client.ReadMessage().has_value());
}

INSTANTIATE_TEST_SUITE_P(OfFrames, FloodTest,
                         ::testing::Values(RawFrames{"Pings", Frame(kLast | kPing, "p")},
                                           RawFrames{"EmptyPings", Frame(kLast | kPing)},
                                           RawFrames{"PongsThatNobodyAskedFor", Frame(kLast | kPong)},
                                           RawFrames{"EmptyFragments", Frame(kContinuation)},
                                           RawFrames{"FragmentsOfAnOctet", Frame(kContinuation, " ")}),
                         NameOfFrames);

TEST_F(RawWebsocketTest, TakesMessagesOfTheLargestSizeAsFastAsTheyMayCome) {
  settings.limits.messages_per_second = 4;
  settings.limits.bytes_per_second = 4 * settings.limits.message_bytes;
  Serve();
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  const std::string text = "{}" + std::string(settings.limits.message_bytes - 2, ' ');
  for (int i = 0; i < 4; ++i) client.SendFrame(kText, text);
  for (int i = 0; i < 4; ++i) EXPECT_THAT(client.ReadMessage().value_or(""), HasSubstr("unknown_message"));
}

TEST_F(RawFrameTest, EndAtOnceWhenABrokenOneFollowsTheMessageForWhichTheyAreClosed) {
  Serve();
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  const auto begin = std::chrono::steady_clock::now();
  client.Send(Frame(kText, "\xc3") + Frame(kLast | kContinuation) + Unmasked(kContinuation));
  EXPECT_EQ(client.ReadMessage(), std::nullopt);
  EXPECT_EQ(client.close_code(), 1007);
  EXPECT_EQ(client.ReadAll(), "");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4))
      << "the time for a close to be confirmed";
}

}  // namespace
