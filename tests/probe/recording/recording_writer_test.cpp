#include "probe/recording/recording_writer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "probe/recording/device_state_reader.h"
#include "probe/recording/recording_line.h"

namespace {

using namespace probe::recording;

class RecordingWriterTest : public ::testing::Test {
 protected:
  /// What was written, without the end of its one line.
  std::string Text() {
    std::string text = stream_.str();
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    text.pop_back();
    return text;
  }

  template <typename Wanted>
  Wanted Read() {
    return std::get<Wanted>(ParseLine(Text()));
  }

 private:
  std::ostringstream stream_;

 protected:
  RecordingWriter writer{stream_};
};

TEST_F(RecordingWriterTest, BeginsWithVersionStartAndTimezone) {
  writer.Header(1795219200, "Europe/Berlin");
  EXPECT_EQ(Text(), R"({"recording":1,"start":1795219200,"timezone":"Europe/Berlin"})");
  EXPECT_EQ(ParseHeader(Text()).start, 1795219200);
}

TEST_F(RecordingWriterTest, WritesADeviceSoThatItIsReadAgain) {
  probe::DeviceSnapshot snapshot;
  snapshot.cpu = 80;
  writer.Device("02:00:00:00:00:01", snapshot);
  const auto device = Read<SetDevice>();
  EXPECT_EQ(device.mac, "02:00:00:00:00:01");
  EXPECT_EQ(SnapshotOf(device.state).cpu, 80);
}

TEST_F(RecordingWriterTest, ReplacesWhatIsNotUtf8) {
  probe::DeviceSnapshot snapshot;
  snapshot.basic_info->hostname = "ap\xff";
  writer.Device("\xff", snapshot);
  const auto device = Read<SetDevice>();
  EXPECT_EQ(device.mac, "\xef\xbf\xbd");
  EXPECT_EQ(SnapshotOf(device.state).basic_info->hostname, "ap\xef\xbf\xbd");
}

TEST_F(RecordingWriterTest, WritesThatADeviceIsForgotten) {
  writer.Forget("A");
  EXPECT_EQ(Read<ForgetDevice>().mac, "A");
}

TEST_F(RecordingWriterTest, KeepsARequestAsTheClientSentIt) {
  writer.Subscribe("T", "client 7", R"([{"sid":"a","filter":{"z":1,"a":2}}])");
  const auto subscribe = Read<Subscribe>();
  EXPECT_EQ(subscribe.topic, "T");
  EXPECT_EQ(subscribe.connection, "client 7");
  EXPECT_EQ(subscribe.request.dump(), R"([{"sid":"a","filter":{"z":1,"a":2}}])");
}

TEST_F(RecordingWriterTest, WritesNullForARequestThatIsMissing) {
  writer.Subscribe("T", "client 7", "");
  EXPECT_TRUE(Read<Subscribe>().request.is_null());
}

TEST_F(RecordingWriterTest, WritesWhatClientsTakeBack) {
  writer.Unsubscribe("T", "client 7", "a");
  const auto unsubscribe = Read<Unsubscribe>();
  EXPECT_EQ(unsubscribe.topic, "T");
  EXPECT_EQ(unsubscribe.connection, "client 7");
  EXPECT_EQ(unsubscribe.sid, "a");
}

TEST_F(RecordingWriterTest, WritesThatAClientGoes) {
  writer.Disconnect("client 7");
  EXPECT_EQ(Read<Disconnect>().connection, "client 7");
}

TEST_F(RecordingWriterTest, WritesAPassAtItsTime) {
  writer.Pass(1795219260);
  EXPECT_EQ(Read<RunPasses>().at, 1795219260);
}

}  // namespace
