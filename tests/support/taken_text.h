#pragma once

#include <cstdlib>
#include <memory>
#include <string>

namespace test {

/// A text that an entry point gives away, freed as a host frees it; "(null)" when there is none.
inline std::string TakenText(char* given) {
  const std::unique_ptr<char, decltype(&std::free)> owner(given, &std::free);
  return given != nullptr ? given : "(null)";
}

}  // namespace test
