#pragma once

#include <string>

namespace test {

/// A text of the plug-in's with null in place of numbers that are none, as a host makes it: JSON has no such numbers.
inline std::string WithNullForNoNumbers(std::string text) {
  for (const std::string word : {"-Infinity", "Infinity", "NaN"}) {
    for (auto at = text.find(": " + word); at != std::string::npos; at = text.find(": " + word)) {
      text.replace(at + 2, word.size(), "null");
    }
  }
  return text;
}

}  // namespace test
