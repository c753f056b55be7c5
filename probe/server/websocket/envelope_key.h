#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace probe {

/// The topic of an envelope, its member "name". Empty for what is no envelope.
///
/// Reads no further than it must: in an envelope the name comes first.
std::string TopicOf(std::string_view envelope);

/// The SIDs that an envelope is for, sorted; they stand in an array "sid" of its body, or of the one object in its
/// body. Empty when there are none. Deeper "sid" members belong to device data and are ignored.
std::vector<std::string> SidsOf(std::string_view envelope);

/// The same, looking at no more than the beginning and the end of a large envelope, where those who write one put them;
/// empty also when they stand in between.
std::vector<std::string> SidsAtEnds(std::string_view envelope);

}  // namespace probe
