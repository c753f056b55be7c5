#include "probe/journal/entry_codec.h"

#include <cstdint>
#include <utility>

#include "probe/journal/snapshot_delta.h"

namespace probe::journal {
namespace {

// A change begins with twice the places passed over, plus 1, and in the lowest bit whether the device was forgotten.
// 0 ends the changes.
constexpr std::uint64_t kEnd = 0;

const DeviceSnapshot& Fresh() {
  static const DeviceSnapshot fresh;
  return fresh;
}

}  // namespace

std::string_view EntryEncoder::Encode(const std::vector<std::string>& macs, const Snapshots& newest) {
  out_.Clear();
  out_.Unsigned(newest.size() - written_.size());
  for (std::size_t place = written_.size(); place < newest.size(); ++place) out_.Text(macs[place]);
  written_.resize(newest.size());
  std::size_t passed_over = 0;
  for (std::size_t place = 0; place < newest.size(); ++place, ++passed_over) {
    const auto& now = newest[place];
    const auto before = std::exchange(written_[place], now);
    // A snapshot never changes, so most comparisons are those of pointers.
    if (before == now || (before != nullptr && now != nullptr && AreSame(*before, *now))) continue;
    out_.Unsigned(((passed_over + 1) << 1) | (now == nullptr ? 1 : 0));
    if (now != nullptr) WriteDelta(before == nullptr ? Fresh() : *before, *now, out_);
    passed_over = static_cast<std::size_t>(-1);
  }
  out_.Unsigned(kEnd);
  return out_.octets();
}

PassEntry EntryDecoder::Decode(std::string_view octets) {
  OctetReader in(octets);
  PassEntry pass;
  for (std::uint64_t names = in.Unsigned(); names != 0; --names) pass.named.emplace_back(in.Text());
  known_.resize(known_.size() + pass.named.size());
  std::size_t place = 0;
  for (std::uint64_t number = in.Unsigned(); number != kEnd; number = in.Unsigned()) {
    const std::uint64_t passed_over = (number >> 1) - 1;
    if (number >> 1 == 0 || passed_over >= known_.size() - place) throw MalformedJournal("a device without a name");
    place += static_cast<std::size_t>(passed_over);
    auto& known = known_[place];
    if ((number & 1) != 0) {
      known = nullptr;
    } else {
      auto snapshot = std::make_shared<DeviceSnapshot>(known == nullptr ? Fresh() : *known);
      ApplyDelta(in, *snapshot);
      known = std::move(snapshot);
    }
    pass.changes.push_back({.place = place, .snapshot = known});
    ++place;
  }
  if (!in.is_at_end()) throw MalformedJournal("more than a pass");
  return pass;
}

}  // namespace probe::journal
