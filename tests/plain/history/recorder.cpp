#include "tests/plain/history/recorder.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "probe/host/log.h"
#include "probe/host/sending.h"

namespace history {
namespace {

std::vector<std::string> events;

void KeepMessage(lws* connection, const std::string& text) {
  events.push_back("message to " + std::to_string(reinterpret_cast<std::uintptr_t>(connection)) + ": " + text);
}

/// A part of a text around one of its octets.
std::string Around(const std::string& text, std::size_t octet) {
  constexpr std::size_t kBefore = 160;
  constexpr std::size_t kLength = 320;
  const std::size_t start = octet < kBefore ? 0 : octet - kBefore;
  return (start == 0 ? "" : "...") + text.substr(start, kLength);
}

const std::string& EventAt(const std::vector<std::string>& list, std::size_t number) {
  static const std::string none = "(nothing)";
  return number < list.size() ? list[number] : none;
}

}  // namespace

Recorder::Recorder() {
  events.clear();
  probe::log::SetLevel(probe::log::Level::kDebug);
  probe::log::SetWriter([](probe::log::Level level, int module, const std::string& text) {
    events.push_back(std::string(probe::log::LevelName(level)) + " " + std::to_string(module) + ": " + text);
  });
  InstallSendFunction(true);
}

Recorder::~Recorder() {
  InstallSendFunction(false);
  probe::log::SetWriter({});
  probe::log::SetLevel(probe::log::Level::kInfo);
}

std::vector<std::string> Recorder::Take() {
  return std::exchange(events, {});
}

void Recorder::InstallSendFunction(bool is_installed) {
  probe::InstallSendFunction(is_installed ? &KeepMessage : nullptr);
}

std::string Difference(const std::vector<std::string>& product, const std::vector<std::string>& plain) {
  if (product == plain) return {};
  std::size_t number = 0;
  while (EventAt(product, number) == EventAt(plain, number)) ++number;
  const std::string& left = EventAt(product, number);
  const std::string& right = EventAt(plain, number);
  const auto octet = static_cast<std::size_t>(
      std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first - left.begin());
  return "event " + std::to_string(number) + " of " + std::to_string(product.size()) + " and " +
         std::to_string(plain.size()) + ", octet " + std::to_string(octet) + "\n  product: " + Around(left, octet) +
         "\n  plain:   " + Around(right, octet);
}

}  // namespace history
