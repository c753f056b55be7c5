#include "probe/sources/simulated/client_radio.h"

#include <array>

#include "probe/sources/simulated/attendance.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::WIFIOpMode;

/// Data rates that a mode has, from a weak signal to a strong one. Units: megabits per second, rounded to whole ones.
/// Source: IEEE Std 802.11, clauses 16 (b), 17 (a), 18 (g), 19 (n: one or two streams) and 21 (ac: likewise).
constexpr std::size_t kRateSteps = 4;
using Rates = std::array<std::int32_t, kRateSteps>;

Rates RatesOf(WIFIOpMode mode) {
  switch (mode) {
    case WIFIOpMode::k802_11b:
      return {1, 2, 6, 11};
    case WIFIOpMode::k802_11a:
    case WIFIOpMode::k802_11g:
      return {12, 24, 36, 54};
    case WIFIOpMode::k802_11n:
      return {65, 130, 150, 300};
    case WIFIOpMode::k802_11ac:
      break;
  }
  return {173, 390, 433, 867};
}

/// Which of the rates of its mode a client has.
std::size_t RateStep(const Dice& dice, const Client& client, const Moment& moment) {
  constexpr int kRateMinutes = 5;
  return dice.Below(kRateSteps, Question::kDataRate, client.number, moment.Slot(kRateMinutes));
}

}  // namespace

std::size_t RadioOf(const Dice& dice, const Client& client, const Moment& moment) {
  if (client.kind == ClientKind::kThing) return kLowBand;
  constexpr int kChoiceMinutes = 45;
  const std::int64_t slot = SlotOf(dice, client.number, moment, kChoiceMinutes);
  return dice.Percent(18, Question::kRadio, client.number, slot) ? kLowBand : kHighBand;
}

WIFIOpMode ModeOf(const Dice& dice, const Client& client, std::size_t radio) {
  // A client keeps its age for life, and with it the modes that it knows.
  const int age = dice.Between(0, 99, Question::kCapability, client.number);
  if (client.kind == ClientKind::kThing) return age < 25 ? WIFIOpMode::k802_11b : WIFIOpMode::k802_11g;
  const bool is_old = age < 5;
  if (radio == kLowBand) return is_old ? WIFIOpMode::k802_11g : WIFIOpMode::k802_11n;
  if (is_old) return WIFIOpMode::k802_11a;
  return age < 20 ? WIFIOpMode::k802_11n : WIFIOpMode::k802_11ac;
}

std::int32_t DataRateOf(const Dice& dice, const Client& client, std::size_t radio, const Moment& moment) {
  return RatesOf(ModeOf(dice, client, radio))[RateStep(dice, client, moment)];
}

std::int32_t SignalOf(const Dice& dice, const Client& client, std::size_t radio, const Moment& moment) {
  constexpr std::array<int, kRateSteps> kWeakest{-84, -74, -66, -56};
  constexpr int kSpread = 8;
  constexpr int kLossOfHighBand = 3;
  const int weakest = kWeakest[RateStep(dice, client, moment)] - (radio == kHighBand ? kLossOfHighBand : 0);
  return dice.Between(weakest, weakest + kSpread, Question::kClientSignal, client.number, moment.minute);
}

}  // namespace probe::simulated
