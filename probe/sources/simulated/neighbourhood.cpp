#include "probe/sources/simulated/neighbourhood.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "probe/sources/simulated/mac.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

namespace records = vexora_probe::models::controller;
using namespace std::string_view_literals;

/// An access point of somebody else, which every street has.
struct StreetAccessPoint {
  std::string_view ssid;
  int percent;  ///< Share of its opening hours in which it is on the air.
  int opens;    ///< Hour of the day, included.
  int closes;   ///< Hour of the day, not included.
  bool trusted = false;
};

constexpr std::array<StreetAccessPoint, 16> kStreet{{
    {.ssid = "Branch Office", .percent = 98, .opens = 0, .closes = 24, .trusted = true},
    {.ssid = "Bluebird Bakery", .percent = 97, .opens = 5, .closes = 19},
    {.ssid = "Waiting Room", .percent = 95, .opens = 8, .closes = 18},
    {.ssid = "Flat 12", .percent = 90, .opens = 0, .closes = 24},
    {.ssid = ""sv, .percent = 85, .opens = 0, .closes = 24},
    {.ssid = "Cafe|Corner", .percent = 92, .opens = 7, .closes = 23},
    {.ssid = "caf\xE9 \xC3\x28 \xFF", .percent = 70, .opens = 7, .closes = 23},
    {.ssid = "<img src=x onerror=alert(1)>", .percent = 45, .opens = 0, .closes = 24},
    {.ssid = "Office", .percent = 20, .opens = 9, .closes = 17},
    {.ssid = "\"quoted\\ {name}\"", .percent = 50, .opens = 0, .closes = 24},
    {.ssid = "two\nlines", .percent = 30, .opens = 0, .closes = 24},
    {.ssid = "thirty-two octets, none to spare", .percent = 88, .opens = 0, .closes = 24},
    {.ssid = "printer setup 4F", .percent = 60, .opens = 0, .closes = 24},
    {.ssid = "someone's phone", .percent = 12, .opens = 8, .closes = 20},
    {.ssid = "tram 7", .percent = 10, .opens = 5, .closes = 24},
    {.ssid = ""sv, .percent = 15, .opens = 8, .closes = 20},
}};

constexpr std::size_t kAccessPointsOfStreet = 6;
constexpr std::size_t kMaxOwnHeard = 4;
// The three channels of 2.4 GHz that do not overlap, and some of 5 GHz.
constexpr std::array<std::int32_t, 3> kLowChannels{1, 6, 11};
constexpr std::array<std::int32_t, 6> kHighChannels{36, 40, 44, 48, 100, 149};

/// The signal level between two places, which varies by a few dB from its mean. Units: dBm.
std::int32_t Signal(const Dice& dice, std::uint64_t pair, int weakest, int strongest, const Moment& moment) {
  constexpr int kDriftMinutes = 5;
  return dice.Between(weakest, strongest, Question::kSignal, pair) +
         dice.Between(-3, 3, Question::kSignalDrift, pair, moment.Slot(kDriftMinutes));
}

std::int32_t ChannelOf(const Dice& dice, MacOwner owner, std::uint64_t number, bool is_low) {
  const std::uint64_t who = Pair(static_cast<std::uint64_t>(owner), number);
  return is_low ? kLowChannels[dice.Below(kLowChannels.size(), Question::kChannel, who)]
                : kHighChannels[dice.Below(kHighChannels.size(), Question::kChannel, who)];
}

/// Each of the two radios of an access point has a number of its own.
std::uint64_t RadioNumber(std::size_t access_point, bool is_low) {
  return 2 * access_point + (is_low ? 0 : 1);
}

records::NeighboringAP Neighbour(const Dice& dice, MacOwner owner, std::uint64_t number, bool is_low) {
  records::NeighboringAP neighbour;
  neighbour.mac = MacText(LocalMac(owner, dice.Throw(Question::kSeedTag, 0), static_cast<std::uint32_t>(number)),
                          MacNotation::kUpperColons);
  neighbour.band = is_low ? records::WIFIBandType::k2_4GHz : records::WIFIBandType::k5GHz;
  neighbour.channel = ChannelOf(dice, owner, number, is_low);
  return neighbour;
}

}  // namespace

std::int32_t ChannelOfRadio(const Dice& dice, std::size_t access_point, std::size_t radio) {
  const bool is_low = radio == kLowBand;
  return ChannelOf(dice, MacOwner::kOwnRadio, RadioNumber(access_point, is_low), is_low);
}

void Neighbourhood::AddOwn(std::size_t access_point, const Moment& moment, const IsOnTheAir& is_on_the_air,
                           Table& table) const {
  const Floor& floor = plan_.FloorOf(access_point);
  const std::size_t others = std::min(kMaxOwnHeard, floor.access_points - 1);
  for (std::size_t step = 1; step <= others; ++step) {
    const std::size_t place = (access_point - floor.first_access_point + step) % floor.access_points;
    const std::size_t other = floor.first_access_point + place;
    if (!is_on_the_air(other)) continue;
    const bool is_low = dice_.Percent(50, Question::kBand, Pair(access_point, other));
    records::NeighboringAP own = Neighbour(dice_, MacOwner::kOwnRadio, RadioNumber(other, is_low), is_low);
    own.ssid = kWirelessNetworks[kOffice].ssid;
    own.trusted = 1;
    own.signal = Signal(dice_, Pair(access_point, other), -70, -45, moment);
    table.push_back(std::move(own));
  }
}

bool Neighbourhood::IsActive(std::size_t street, std::size_t place, const Moment& moment) const {
  const StreetAccessPoint& kind = kStreet[place];
  const int hour = moment.minute_of_day / 60;
  if (hour < kind.opens || hour >= kind.closes) return false;
  constexpr int kSlotMinutes = 20;
  // Shifted by the place, so that not all of them come and go in the same minute.
  const std::int64_t slot = moment.Slot(kSlotMinutes, static_cast<std::int64_t>(place));
  return dice_.Percent(kind.percent, Question::kOnAir, Pair(street, place), slot);
}

void Neighbourhood::AddStreet(std::size_t access_point, const Moment& moment, Table& table) const {
  const std::size_t street = access_point / kAccessPointsOfStreet;
  for (std::size_t place = 0; place < kStreet.size(); ++place) {
    const std::size_t number = street * kStreet.size() + place;
    // The offset keeps these pairs apart from those of two own access points.
    const std::uint64_t pair = Pair(access_point, (std::uint64_t{1} << 31) + number);
    if (!dice_.Percent(60, Question::kHears, pair) || !IsActive(street, place, moment)) continue;
    // Its band is its own, the same for everybody who hears it.
    const bool is_low = dice_.Percent(55, Question::kBand, Pair(~std::uint64_t{0}, number));
    records::NeighboringAP neighbour = Neighbour(dice_, MacOwner::kStreet, number, is_low);
    neighbour.ssid = kStreet[place].ssid;
    neighbour.trusted = kStreet[place].trusted ? 1 : 0;
    neighbour.signal = Signal(dice_, pair, -92, -52, moment);
    table.push_back(std::move(neighbour));
  }
}

std::list<records::NeighboringAP> Neighbourhood::HeardBy(std::size_t access_point, const Moment& moment,
                                                         const IsOnTheAir& is_on_the_air) const {
  Table table;
  AddOwn(access_point, moment, is_on_the_air, table);
  AddStreet(access_point, moment, table);
  return table;
}

}  // namespace probe::simulated
