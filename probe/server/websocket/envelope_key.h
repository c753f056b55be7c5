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

/// The same, unsorted and looking no further than it must: first at the end of the envelope, where most of those who
/// write one put them, then from the beginning up to them. Only an envelope without any is read to its end.
std::vector<std::string> SidsAtEnds(std::string_view envelope);

}  // namespace probe
