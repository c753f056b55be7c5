#include "probe/sources/simulated/dice.h"

namespace probe::simulated {
namespace {

constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio, as SplitMix64 has it

/// Makes every bit of the result depend on every bit of `value`.
std::uint64_t Mix(std::uint64_t value) {
  value += kStep;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
  return value ^ (value >> 31);
}

}  // namespace

Dice::Dice(std::uint64_t seed) : seed_(Mix(seed)) {}

std::uint64_t Dice::Throw(Question question, std::uint64_t who, std::int64_t when) const {
  const std::uint64_t subject = Mix(seed_ ^ static_cast<std::uint64_t>(question)) ^ who;
  return Mix(Mix(subject) ^ static_cast<std::uint64_t>(when));
}

std::uint64_t Dice::Below(std::uint64_t limit, Question question, std::uint64_t who, std::int64_t when) const {
  // Scaling 32 bits by multiplication needs no division, cannot overflow, and favours no number noticeably.
  return ((Throw(question, who, when) >> 32) * limit) >> 32;
}

int Dice::Between(int low, int high, Question question, std::uint64_t who, std::int64_t when) const {
  const std::uint64_t choices = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
  return low + static_cast<int>(Below(choices, question, who, when));
}

bool Dice::Percent(int percent, Question question, std::uint64_t who, std::int64_t when) const {
  return Between(0, 99, question, who, when) < percent;
}

std::uint64_t Pair(std::uint64_t first, std::uint64_t second) {
  return (first << 32) | second;
}

}  // namespace probe::simulated
