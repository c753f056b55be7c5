#include "probe/recording/recorder.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_service.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>

#include "probe/host/connection_id.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/test_folder.h"

namespace {

using probe::DeviceCentre;
using probe::SubscriptionService;
using probe::recording::Recorder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Lets files of this process grow no further than this, until the end of the scope.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t octets) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit now{.rlim_cur = octets, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &now);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};

void SubscribeUnder(const std::string& sid) {
  SubscriptionService::Instance().File("Topic", probe::ConnectionId{1}, {{sid, test::FilterOf("1m")}},
                                       R"([{"sid": ")" + sid + "\"}]");
}

TEST(RecorderTest, RefusesAFileThatTakesNothing) {
  const auto record = [](const char* path) {
    const Recorder recorder({.path = path, .may_overwrite = true}, DeviceCentre::Instance(),
                            SubscriptionService::Instance());
  };
  EXPECT_THROW(record("/no/such/folder/x.jsonl"), std::runtime_error);
  EXPECT_THROW(record("/dev/full"), std::runtime_error);
}

TEST(RecorderTest, SaysOnceThatItsFileTakesNoMore) {
  const test::TestFolder folder;
  const std::string path = folder.Path("x.jsonl");
  const test::LogCapture log;
  const Recorder recorder({.path = path}, DeviceCentre::Instance(), SubscriptionService::Instance());
  SubscribeUnder("a");
  EXPECT_THAT(log.Lines(), IsEmpty());

  const FileSizeLimit limit(200);
  SubscribeUnder("b");
  SubscribeUnder("c");

  EXPECT_THAT(log.Lines(),
              ElementsAre(::testing::Field(&test::LogLine::text, "[Recorder] the recording " + path +
                                                                     " cannot be written any more: it is cut short")));
}

TEST(RecorderTest, EndsARecordingAtItsSizeAndSaysSo) {
  const test::TestFolder folder;
  const std::string path = folder.Path("x.jsonl");
  const test::LogCapture log;
  Recorder recorder({.path = path, .max_bytes = 150}, DeviceCentre::Instance(), SubscriptionService::Instance());
  recorder.OnCleanUp("02:fc:00:00:00:01");
  EXPECT_THAT(log.Lines(), IsEmpty());
  for (int round = 0; round < 10; ++round) recorder.OnCleanUp("02:fc:00:00:00:02");
  recorder.OnPassBegins(60);
  recorder.OnPassEnds();
  EXPECT_THAT(log.Texts(probe::log::Level::kInfo, "as many as it may have"), ::testing::SizeIs(1));
  std::ifstream file(path);
  std::string last;
  int lines = 0;
  for (std::string line; std::getline(file, line); ++lines) last = line;
  EXPECT_EQ(last, R"({"cleanup":"02:fc:00:00:00:02"})");
  EXPECT_LT(lines, 6);
}

}  // namespace
