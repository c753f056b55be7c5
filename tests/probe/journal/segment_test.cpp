#include "probe/journal/delta_octets.h"
#include "probe/journal/entry_codec.h"
#include "probe/journal/journal_entry.h"
#include "probe/journal/segment_format.h"
#include "probe/journal/segment_reader.h"
#include "probe/journal/segment_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "probe/journal/snapshot_delta.h"
#include "tests/probe/journal/random_snapshots.h"
#include "tests/support/test_folder.h"

namespace {

using probe::DeviceSnapshot;
using probe::journal::CleanUpEntry;
using probe::journal::Entry;
using probe::journal::EntryEncoder;
using probe::journal::FrameHead;
using probe::journal::FrameKind;
using probe::journal::PassEntry;
using probe::journal::SegmentHead;
using probe::journal::SegmentReader;
using probe::journal::SegmentWriter;
using probe::journal::Snapshots;

const SegmentHead kHead{.start = 1'795'219'200, .is_first_of_run = true, .timezone = "Europe/Berlin", .program = "1.2"};

/// A network that changes at random from pass to pass, and what a segment of it should tell.
class RandomNetwork {
 public:
  explicit RandomNetwork(std::mt19937_64::result_type seed) : random_(seed) {}

  void Change() {
    if (test::Below(random_, 4) == 0) {
      macs_.push_back("02:fc:00:00:01:" + std::to_string(macs_.size()));
      newest_.push_back(test::Below(random_, 8) == 0 ? nullptr : Shared(test::RandomSnapshot(random_)));
    }
    for (auto& snapshot : newest_) {
      switch (test::Below(random_, 12)) {
        case 0:
          snapshot = nullptr;
          break;
        case 1:
        case 2:
          break;  // no new reading
        case 3:
          if (snapshot != nullptr) snapshot = Shared(DeviceSnapshot(*snapshot));  // one that tells the same
          break;
        default: {
          DeviceSnapshot now = snapshot == nullptr ? test::RandomSnapshot(random_) : *snapshot;
          test::ChangeAtRandom(random_, now);
          snapshot = Shared(std::move(now));
        }
      }
    }
  }

  const std::vector<std::string>& macs() const { return macs_; }
  const Snapshots& newest() const { return newest_; }
  std::mt19937_64& random() { return random_; }

 private:
  static std::shared_ptr<const DeviceSnapshot> Shared(DeviceSnapshot snapshot) {
    return std::make_shared<const DeviceSnapshot>(std::move(snapshot));
  }

  std::mt19937_64 random_;
  std::vector<std::string> macs_;
  Snapshots newest_;
};

/// What somebody who applies the entries of a segment knows.
class Follower {
 public:
  void Take(const PassEntry& pass) {
    macs_.insert(macs_.end(), pass.named.begin(), pass.named.end());
    newest_.resize(macs_.size());
    for (const auto& change : pass.changes) newest_.at(change.place) = change.snapshot;
  }

  bool Knows(const RandomNetwork& network) const {
    if (macs_ != network.macs()) return false;
    for (std::size_t place = 0; place < macs_.size(); ++place) {
      const auto& left = newest_[place];
      const auto& right = network.newest()[place];
      if ((left == nullptr) != (right == nullptr)) return false;
      if (left != nullptr && !probe::journal::AreSame(*left, *right)) return false;
    }
    return true;
  }

 private:
  std::vector<std::string> macs_;
  Snapshots newest_;
};

class SegmentTest : public ::testing::Test {
 protected:
  /// A segment of so many passes, and the size that the file had after the head and each entry.
  std::vector<std::uint64_t> Write(int passes, std::mt19937_64::result_type seed = 1) {
    RandomNetwork network(seed);
    EntryEncoder encoder;
    SegmentWriter writer(path_, kHead);
    std::vector<std::uint64_t> sizes{writer.size()};
    for (int pass = 0; pass < passes; ++pass) {
      network.Change();
      writer.Append({.kind = FrameKind::kPass, .at = 60 * pass, .cost_microseconds = 5},
                    encoder.Encode(network.macs(), network.newest()));
      sizes.push_back(writer.size());
    }
    return sizes;
  }

  std::string Octets() const {
    std::ifstream file(path_, std::ios::binary);
    std::stringstream octets;
    octets << file.rdbuf();
    return octets.str();
  }

  struct Result {
    int entries = 0;
    SegmentReader::Ending ending{};
    std::uint64_t good_bytes = 0;
  };

  static Result Read(const std::string& octets) {
    std::istringstream stream(octets);
    SegmentReader reader(stream);
    Result result;
    while (reader.Next()) ++result.entries;
    result.ending = reader.ending();
    result.good_bytes = reader.good_bytes();
    return result;
  }

  test::TestFolder folder_;
  std::string path_ = folder_.Path("segment");
};

TEST_F(SegmentTest, TellsOfEachPassWhatTheDevicesReported) {
  for (std::mt19937_64::result_type seed = 0; seed < 30; ++seed) {
    std::filesystem::remove(path_);
    RandomNetwork network(seed);
    std::vector<std::pair<std::vector<std::string>, Snapshots>> passes;
    EntryEncoder encoder;
    SegmentWriter writer(path_, kHead);
    std::ifstream file(path_, std::ios::binary);
    SegmentReader reader(file);
    EXPECT_EQ(reader.head(), kHead);
    Follower follower;
    for (time_t at = 0; at < 50; ++at) {
      network.Change();
      writer.Append({.kind = FrameKind::kPass, .at = at, .cost_microseconds = 7},
                    encoder.Encode(network.macs(), network.newest()));
      const auto entry = reader.Next();  // it reads behind the writer: the pass is in the file
      ASSERT_TRUE(entry && std::holds_alternative<PassEntry>(*entry));
      const auto& pass = std::get<PassEntry>(*entry);
      EXPECT_EQ(pass.at, at);
      EXPECT_EQ(pass.cost_microseconds, 7U);
      follower.Take(pass);
      ASSERT_TRUE(follower.Knows(network)) << "seed " << seed << ", pass " << at;
    }
    EXPECT_EQ(reader.good_bytes(), writer.size());
  }
}

TEST_F(SegmentTest, TellsOfCleanUpsInTheirPlace) {
  RandomNetwork network(1);
  network.Change();
  EntryEncoder encoder;
  SegmentWriter writer(path_, kHead);
  writer.Append({.kind = FrameKind::kPass, .at = 60}, encoder.Encode(network.macs(), network.newest()));
  writer.Append({.kind = FrameKind::kCleanUp, .at = 90}, "02:fc:00:00:00:01");
  writer.Append({.kind = FrameKind::kPass, .at = 120}, encoder.Encode(network.macs(), network.newest()));
  std::ifstream file(path_, std::ios::binary);
  SegmentReader reader(file);
  ASSERT_TRUE(reader.Next());
  const auto entry = reader.Next();
  ASSERT_TRUE(entry && std::holds_alternative<CleanUpEntry>(*entry));
  EXPECT_EQ(std::get<CleanUpEntry>(*entry).mac, "02:fc:00:00:00:01");
  EXPECT_EQ(std::get<CleanUpEntry>(*entry).at, 90);
  ASSERT_TRUE(reader.Next());
  EXPECT_FALSE(reader.Next());
  EXPECT_EQ(reader.ending(), SegmentReader::Ending::kWhole);
}

TEST_F(SegmentTest, CutOffAnywhereLosesTheEntryThatWasCutAndNoOther) {
  const std::vector<std::uint64_t> sizes = Write(8);
  const std::string octets = Octets();
  ASSERT_EQ(octets.size(), sizes.back());
  for (std::size_t size = sizes.front(); size < octets.size(); ++size) {
    std::size_t whole = 0;
    while (sizes[whole + 1] <= size) ++whole;
    const Result result = Read(octets.substr(0, size));
    ASSERT_EQ(result.entries, static_cast<int>(whole)) << size;
    ASSERT_EQ(result.good_bytes, sizes[whole]) << size;
    ASSERT_EQ(result.ending, size == sizes[whole] ? SegmentReader::Ending::kWhole : SegmentReader::Ending::kCutOff);
  }
}

TEST_F(SegmentTest, WithAnyBitWrongIsReadUpToThereAndNotMisread) {
  const std::vector<std::uint64_t> sizes = Write(4);
  const std::string octets = Octets();
  for (std::size_t place = sizes.front(); place < octets.size(); ++place) {
    std::string corrupt = octets;
    corrupt[place] = static_cast<char>(corrupt[place] ^ (1 << place % 8));
    std::size_t whole = 0;
    while (sizes[whole + 1] <= place) ++whole;
    const Result result = Read(corrupt);
    ASSERT_EQ(result.entries, static_cast<int>(whole)) << place;
    ASSERT_NE(result.ending, SegmentReader::Ending::kWhole) << place;
  }
}

TEST_F(SegmentTest, WhoseTailWasNeverWrittenEndsThere) {
  const std::vector<std::uint64_t> sizes = Write(4);
  std::string octets = Octets();
  std::fill(octets.begin() + static_cast<long>(sizes[3]), octets.end(), '\0');  // as some file systems leave it
  EXPECT_EQ(Read(octets).entries, 3);
  octets.append(1000, '\0');
  EXPECT_EQ(Read(octets).entries, 3);
}

TEST_F(SegmentTest, WithACutOrCorruptHeadIsRefused) {
  const std::vector<std::uint64_t> sizes = Write(1);
  const std::string octets = Octets();
  for (std::size_t size = 0; size < sizes.front(); ++size) {
    EXPECT_THROW(Read(octets.substr(0, size)), probe::journal::MalformedJournal) << size;
    std::string corrupt = octets;
    corrupt[size] = static_cast<char>(corrupt[size] ^ 1);
    EXPECT_THROW(Read(corrupt), probe::journal::MalformedJournal) << size;
  }
  EXPECT_THROW(Read("{\"recording\": 1}"), probe::journal::MalformedJournal);
}

TEST_F(SegmentTest, OfAnotherVersionIsRefusedByName) {
  Write(1);
  std::string octets = Octets();
  octets[8] = 2;
  try {
    Read(octets);
    ADD_FAILURE() << "it was read";
  } catch (const probe::journal::UnknownVersion& error) {
    EXPECT_STREQ(error.what(), "it has format version 2, and this probe reads version 1");
  }
}

TEST_F(SegmentTest, IsForItsOwnersEyesOnly) {
  Write(1);
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(SegmentTest, TellsNoFactsOfAFrameThatCannotBeOne) {
  const std::vector<std::uint64_t> sizes = Write(3);
  const auto with = [&](std::uint64_t place, const std::string& octets) {
    std::fstream(path_, std::ios::in | std::ios::out | std::ios::binary)
        .seekp(static_cast<std::streamoff>(place))
        .write(octets.data(), static_cast<std::streamsize>(octets.size()));
    return probe::journal::ReadFacts(path_);
  };
  const auto last = sizes[2];
  EXPECT_EQ(with(last + 8, std::string(7, '\0') + '\x7f').last_pass, 60) << "a time far in the future";
  EXPECT_EQ(with(last + 8, std::string(8, '\xff')).last_pass, 60) << "a time before 1970";
  EXPECT_EQ(with(last + 8, std::string(8, '\0')).passes, 3U);
  EXPECT_EQ(with(last + 4, "\x07").passes, 2U) << "an unknown kind";
}

TEST_F(SegmentTest, TellsItsFactsWithoutBeingRead) {
  Write(5);
  const probe::journal::SegmentFacts facts = probe::journal::ReadFacts(path_);
  EXPECT_EQ(facts.head, kHead);
  EXPECT_EQ(facts.passes, 5U);
  EXPECT_EQ(facts.first_pass, 0);
  EXPECT_EQ(facts.last_pass, 240);
  EXPECT_EQ(facts.cost_microseconds, 25U);
}

}  // namespace
