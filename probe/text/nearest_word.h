#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace probe {

/// The one of `words` that is written most like `word`, for "did you mean" in an error. Of several equally near ones
/// the first.
///
/// Fails: an empty text where none is near: at most one character in three, and never more than three, may be wrong,
///        missing, too many, or swapped with its neighbour.
std::string NearestWord(std::string_view word, const std::vector<std::string>& words);

/// The end of an error that names it: `; did you mean "PREFIXword"?`. Empty where none is near.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& words, const std::string& prefix = {});

}  // namespace probe
