#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <unordered_map>
#include <vector>

#include "monitor/engine/view_chain.h"
#include "monitor/traffic/speed_history.h"

namespace bench {

/// What a traffic monitor has to do at least, as a reference: speeds and averages of interfaces that are found by a
/// number in a hash table, with all samples in fixed arrays. No names, locks, log lines, devices that come and go, nor
/// clocks that are set back.
class KeyedTraffic {
 public:
  struct Row {
    std::uint64_t key = 0;
    std::uint64_t in = 0;
    std::uint64_t out = 0;
    time_t sampled_at = 0;
  };

  void Fold(const std::vector<Row>& rows, time_t now) {
    for (const Row& row : rows) {
      const auto [found, is_new] = entries_.try_emplace(row.key);
      Entry& entry = found->second;
      monitoring::Traffic sample{.time = now};
      if (const time_t seconds = row.sampled_at - entry.last.sampled_at; !is_new && seconds > 0) {
        sample.input = Increase(entry.last.in, row.in) / static_cast<std::uint64_t>(seconds);
        sample.output = Increase(entry.last.out, row.out) / static_cast<std::uint64_t>(seconds);
      }
      entry.last = row;
      entry.views[0].Append(sample, monitoring::kMaxSamples);
      Average(entry, now);
    }
  }

 private:
  struct Ring {
    std::array<monitoring::Traffic, monitoring::kMaxSamples + 1> samples;
    std::uint32_t next = 0;
    std::uint32_t size = 0;
    time_t newest = 0;

    void Append(const monitoring::Traffic& sample, std::size_t usual_size) {
      samples[next] = sample;
      next = next + 1 == usual_size ? 0 : next + 1;
      size = std::min(size + 1, static_cast<std::uint32_t>(usual_size));
      newest = sample.time;
    }
  };
  struct Entry {
    Row last;
    std::array<Ring, monitoring::kViewChain.size() + 1> views;
  };

  static std::uint64_t Increase(std::uint64_t last, std::uint64_t now) { return now < last ? now : now - last; }

  static void Average(Entry& entry, time_t now) {
    constexpr time_t kMinute = 60;
    for (std::size_t view = 0; view < monitoring::kViewChain.size(); ++view) {
      const monitoring::ViewStep& step = monitoring::kViewChain[view];
      const Ring& source = entry.views[view];
      Ring& target = entry.views[view + 1];
      const auto count = static_cast<std::uint32_t>(step.count);
      if (source.size < count || source.newest / kMinute - target.newest / kMinute < step.minutes) continue;
      const std::uint32_t length = view == 0 ? monitoring::kMaxSamples : monitoring::kMaxSamples + 1;
      monitoring::Traffic mean{.time = now};
      for (std::uint32_t back = 1; back <= count; ++back) {
        const monitoring::Traffic& sample = source.samples[(source.next + length - back) % length];
        mean.input += sample.input;
        mean.output += sample.output;
      }
      mean.input /= count;
      mean.output /= count;
      target.Append(mean, monitoring::kMaxSamples + 1);
    }
  }

  std::unordered_map<std::uint64_t, Entry> entries_;
};

}  // namespace bench
