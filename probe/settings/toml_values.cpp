#include "probe/settings/toml_values.h"

#include <cstdint>
#include <string>
#include <vector>

namespace probe {
namespace {

std::optional<std::vector<std::string>> TextsOf(const toml::array& array) {
  std::vector<std::string> texts;
  for (const toml::node& element : array) {
    if (!element.is_string()) return std::nullopt;
    texts.push_back(element.ref<std::string>());
  }
  return texts;
}

}  // namespace

std::optional<SettingValue> ValueOf(const toml::node& node) {
  if (node.is_boolean()) return node.ref<bool>();
  if (node.is_integer()) return node.ref<std::int64_t>();
  if (node.is_string()) return node.ref<std::string>();
  if (const toml::array* array = node.as_array()) {
    if (auto texts = TextsOf(*array)) return *std::move(texts);
  }
  return std::nullopt;
}

}  // namespace probe
