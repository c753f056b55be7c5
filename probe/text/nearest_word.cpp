#include "probe/text/nearest_word.h"

#include <algorithm>
#include <cstddef>

namespace probe {

namespace {

constexpr std::size_t kMaxWord = 64;
constexpr std::size_t kMaxDistance = 3;

/// The number of characters to insert, remove, replace, or swap with their neighbour, that makes one text the other.
std::size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<std::vector<std::size_t>> distance(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      std::size_t& here = distance[i][j];
      if (i == 0 || j == 0) {
        here = std::max(i, j);
        continue;
      }
      const std::size_t replaced = distance[i - 1][j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      here = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1, replaced});
      const bool is_swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (is_swapped) here = std::min(here, distance[i - 2][j - 2] + 1);
    }
  }
  return distance[from.size()][to.size()];
}

}  // namespace

std::string NearestWord(std::string_view word, const std::vector<std::string>& words) {
  if (word.size() > kMaxWord) return {};
  const std::size_t bound = std::clamp<std::size_t>(word.size() / 3, 1, kMaxDistance);
  std::string nearest;
  std::size_t least = bound + 1;
  for (const std::string& candidate : words) {
    if (candidate.size() > kMaxWord) continue;
    const std::size_t distance = EditDistance(word, candidate);
    if (distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& words, const std::string& prefix) {
  const std::string nearest = NearestWord(word, words);
  return nearest.empty() ? nearest : "; did you mean \"" + prefix + nearest + "\"?";
}

}  // namespace probe
