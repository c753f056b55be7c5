// Messages as frames, and the control frames between them.

#include "probe/server/websocket/frame_stream.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/write.hpp>
#include <memory>
#include <string>
#include <vector>

#include "probe/server/websocket/outbox.h"
#include "tests/probe/server/memory_transport.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::size_t kFramePayload = 65532;  // of a frame of 64 KiB

struct WrittenFrame {
  int first = 0;  ///< Octet: opcode, and whether it is the last one of its message.
  std::string payload;
};

/// The frames in what a server sent; it ends the test when they are cut.
std::vector<WrittenFrame> FramesIn(std::string octets) {
  std::vector<WrittenFrame> frames;
  while (!octets.empty()) {
    const auto octet = [&](std::size_t at) {
      return static_cast<std::size_t>(static_cast<unsigned char>(octets.at(at)));
    };
    const std::size_t head = octet(1) < 126 ? 2 : 4;
    const std::size_t length = head == 2 ? octet(1) : octet(2) * 256 + octet(3);
    frames.push_back({static_cast<int>(octet(0)), octets.substr(head, length)});
    EXPECT_EQ(frames.back().payload.size(), length);
    octets.erase(0, head + length);
  }
  return frames;
}

std::vector<int> FirstOctets(const std::vector<WrittenFrame>& frames) {
  std::vector<int> octets;
  for (const WrittenFrame& frame : frames) octets.push_back(frame.first);
  return octets;
}

std::string TextOfSize(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 23);
  return text;
}

/// A stream over a connection that takes so many octets at once.
class FrameStreamTest : public ::testing::TestWithParam<std::size_t> {
 protected:
  FrameStreamTest()
      : transport(loop, "", 1, outcome, GetParam()),
        stream(std::make_shared<probe::FrameStream>(transport, [](std::size_t) {})) {
    stream->Keep(stream);
  }
  ~FrameStreamTest() override { stream->Keep(nullptr); }

  /// Frames of a long message: more than the system takes at once, but for a connection that is slow to test.
  static std::size_t Frames() { return GetParam() < 1000 ? 2 : 70; }

  void Write(const std::string& text) {
    auto message = std::make_shared<const probe::OutgoingMessage>(text, probe::OutgoingMessage::Kind::kPush);
    stream->WriteMessage(std::move(message), [this] { ++written; });
  }

  /// Writes as the library does.
  void WriteControl(const std::string& frame) {
    control = frame;
    boost::asio::async_write(*stream, boost::asio::buffer(control),
                             [this](boost::system::error_code error, std::size_t) {
                               EXPECT_FALSE(error);
                               ++controls_written;
                             });
  }

  boost::asio::io_context loop{1};
  test::Outcome outcome;
  test::MemoryTransport transport;
  std::shared_ptr<probe::FrameStream> stream;
  std::string control;
  int written = 0;
  int controls_written = 0;
};

TEST_P(FrameStreamTest, WritesMessagesOfAnySizeInWholeFrames) {
  for (const std::size_t size :
       {1UL, 125UL, 126UL, kFramePayload, kFramePayload + 1, kFramePayload + 126, 3 * kFramePayload}) {
    outcome.sent.clear();
    written = 0;
    const std::string text = TextOfSize(size);
    Write(text);
    loop.restart();
    loop.run();
    EXPECT_EQ(written, 1);
    const auto frames = FramesIn(outcome.sent);
    ASSERT_THAT(frames, SizeIs((size + kFramePayload - 1) / kFramePayload)) << size;
    std::string joined;
    for (std::size_t i = 0; i < frames.size(); ++i) {
      EXPECT_EQ(frames[i].first, (i == 0 ? 1 : 0) | (i + 1 == frames.size() ? 0x80 : 0)) << size;
      joined += frames[i].payload;
    }
    EXPECT_TRUE(joined == text) << size;
  }
}

TEST_P(FrameStreamTest, WritesAControlFrameBetweenTheFramesOfAMessage) {
  const std::string text = TextOfSize(Frames() * kFramePayload);
  Write(text);
  WriteControl("\x89\x02hi");
  loop.run();
  EXPECT_EQ(written, 1);
  EXPECT_EQ(controls_written, 1);
  auto frames = FramesIn(outcome.sent);
  ASSERT_THAT(frames, SizeIs(Frames() + 1));
  const auto ping =
      std::find_if(frames.begin(), frames.end(), [](const WrittenFrame& frame) { return frame.first == 0x89; });
  ASSERT_NE(ping, frames.end());
  EXPECT_EQ(ping->payload, "hi");
  frames.erase(ping);
  std::string joined;
  for (const WrittenFrame& frame : frames) joined += frame.payload;
  EXPECT_TRUE(joined == text);
}

TEST_P(FrameStreamTest, WritesNothingBehindACloseFrame) {
  Write(TextOfSize(Frames() * kFramePayload));
  WriteControl("\x88\x02\x03\xe9");
  loop.run();
  EXPECT_EQ(controls_written, 1);
  const auto frames = FramesIn(outcome.sent);
  ASSERT_THAT(frames, ::testing::Not(IsEmpty()));
  EXPECT_EQ(frames.back().first, 0x88);
  Write("too late");
  loop.restart();
  loop.run();
  EXPECT_THAT(FramesIn(outcome.sent), SizeIs(frames.size()));
}

TEST_P(FrameStreamTest, WritesAMessageThatIsGivenToItWhileAControlFrameIsWritten) {
  WriteControl("\x89\x02hi");
  Write("text");
  loop.run();
  EXPECT_THAT(FirstOctets(FramesIn(outcome.sent)), ElementsAre(0x89, 0x81));
  EXPECT_EQ(written, 1);
}

INSTANTIATE_TEST_SUITE_P(OctetsAtOnce, FrameStreamTest, ::testing::Values(7, 65535, 65536, 100'000, 1UL << 40),
                         ::testing::PrintToStringParamName());

}  // namespace
