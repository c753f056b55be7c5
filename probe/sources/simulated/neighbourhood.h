#pragma once

#include <cstddef>
#include <list>

#include "platform/device_records.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/whereabouts.h"

namespace probe::simulated {

/// The channel of a radio of the company, the same for all who hear it. Source: IEEE Std 802.11, annex E.
std::int32_t ChannelOfRadio(const Dice& dice, std::size_t access_point, std::size_t radio);

/// Which other access points an access point hears.
///
/// The company's own ones of the same floor are trusted, and so is the branch office next door; all others are rogue
/// access points: shops with opening hours, phones that pass by, and some whose names test what displays them: hidden
/// ones, separators, markup, line ends, octets that are no UTF-8, and one that pretends to be the company's own
/// network. Six access points share one street, so several of them hear the same rogue access point.
///
/// Does not model: two access points hearing each other equally well, or channels that change.
/// Threads: any; nothing in it changes.
class Neighbourhood {
 public:
  /// Both have to outlive the object.
  Neighbourhood(const Dice& dice, const FloorPlan& plan) : dice_(dice), plan_(plan) {}

  /// The scan table of an access point, own ones first. The signal drifts every five minutes.
  std::list<vexora_probe::models::controller::NeighboringAP> HeardBy(std::size_t access_point, const Moment& moment,
                                                                     const IsOnTheAir& is_on_the_air) const;

 private:
  using Table = std::list<vexora_probe::models::controller::NeighboringAP>;

  void AddOwn(std::size_t access_point, const Moment& moment, const IsOnTheAir& is_on_the_air, Table& table) const;
  void AddStreet(std::size_t access_point, const Moment& moment, Table& table) const;
  bool IsActive(std::size_t street, std::size_t place, const Moment& moment) const;

  const Dice& dice_;
  const FloorPlan& plan_;
};

}  // namespace probe::simulated
