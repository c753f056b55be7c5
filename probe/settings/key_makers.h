#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "probe/settings/setting_keys.h"
#include "probe/settings/settings.h"

namespace probe {

// How keys of the configuration file are made, for those who list them.

inline bool AcceptAnything(const SettingValue& /*value*/) {
  return true;
}

/// A key over one member; `member` gives the reference to it in a `Settings`, const or not. `Value` is the alternative
/// of `SettingValue` as which it is written.
template <typename Value, typename Member>
SettingKey KeyOf(std::string table, std::string name, Member member, std::string expected, std::string help) {
  using Stored = std::remove_reference_t<decltype(member(std::declval<Settings&>()))>;
  SettingKey key{std::move(table), std::move(name), std::move(help), std::move(expected), AcceptAnything, {}, {}};
  key.read = [member](const Settings& settings) -> SettingValue {
    if constexpr (std::is_same_v<Stored, std::chrono::seconds> || std::is_same_v<Stored, std::chrono::hours>) {
      return static_cast<Value>(member(settings).count());
    } else {
      return static_cast<Value>(member(settings));
    }
  };
  key.assign = [member](Settings& settings, const SettingValue& value) {
    // Cannot lose anything: `accepts` was asked first.
    member(settings) = static_cast<Stored>(std::get<Value>(value));
  };
  return key;
}

template <typename Member>
SettingKey Number(std::string table, std::string name, Member member, std::int64_t least, std::int64_t most,
                  std::string help) {
  SettingKey key = KeyOf<std::int64_t>(std::move(table), std::move(name), member,
                                       "a whole number from " + std::to_string(least) + " to " + std::to_string(most),
                                       std::move(help));
  key.accepts = [least, most](const SettingValue& value) {
    const auto number = std::get<std::int64_t>(value);
    return least <= number && number <= most;
  };
  return key;
}

template <typename Member>
SettingKey Text(std::string table, std::string name, Member member, std::string help) {
  return KeyOf<std::string>(std::move(table), std::move(name), member, "a text", std::move(help));
}

template <typename Member>
SettingKey Texts(std::string table, std::string name, Member member, std::string help) {
  return KeyOf<std::vector<std::string>>(std::move(table), std::move(name), member, "a list of texts", std::move(help));
}

}  // namespace probe
