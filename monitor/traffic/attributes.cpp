#include "monitor/traffic/attributes.h"

#include <cstdlib>

namespace monitoring::traffic {

Attributes AttributesOf(const vexora_probe::models::controller::TrafficStats& statistics) {
  return {{kInBytes, std::to_string(statistics.in_bytes)}, {kOutBytes, std::to_string(statistics.out_bytes)}};
}

Counters CountersOf(const Attributes& attributes) {
  constexpr int kDecimal = 10;
  return {.in = std::strtoull(TextOf(attributes, kInBytes), nullptr, kDecimal),
          .out = std::strtoull(TextOf(attributes, kOutBytes), nullptr, kDecimal)};
}

const char* TextOf(const Attributes& attributes, const char* key) {
  const auto found = attributes.find(key);
  return found == attributes.end() ? "" : found->second.c_str();
}

}  // namespace monitoring::traffic
