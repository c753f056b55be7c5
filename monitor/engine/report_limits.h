#pragma once

#include <cstddef>

// What keeps the memory of a report bounded. No honest network comes near the limits of a day: they are there for one
// whose clients or neighbours make up new names all day long.
namespace monitoring {

inline constexpr std::size_t kMaxReportDays =
    7;  ///< Day buckets that either report keeps; the oldest is dropped first.
inline constexpr std::size_t kMaxReportWeeks = 4;  ///< Week buckets that either report keeps, likewise.

/// Rows that the client report keeps of one day and of one week, clients and guests together. A client of which there
/// is no row yet gets none beyond it. One that gets none of the day gets none of the week either, but is counted in the
/// one that it has.
inline constexpr std::size_t kMaxClientRowsADay = 100'000;
inline constexpr std::size_t kMaxClientRowsAWeek = 200'000;

/// Rogue access points, by MAC, SSID, channel and band, that the network report keeps of one day: so many, and so many
/// more for each device of ours. New ones beyond it are left out of the day and of what it adds to the week.
inline constexpr std::size_t kMaxRogueKeysADay = 10'000;
inline constexpr std::size_t kRogueKeysADayPerDevice = 20;

}  // namespace monitoring
