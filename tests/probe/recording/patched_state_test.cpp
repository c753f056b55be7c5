#include "probe/recording/patched_state.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "probe/recording/device_state_reader.h"
#include "probe/recording/device_state_writer.h"
#include "probe/recording/json_object_reader.h"

namespace {

using Json = nlohmann::ordered_json;
using probe::recording::PatchedState;
using probe::recording::SnapshotOf;
using probe::recording::StateOf;

/// A patch of a few members, some of which it takes away.
Json RandomPatch(std::mt19937& random) {
  const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  const auto maybe = [&](Json value) { return below(4) == 0 ? Json(nullptr) : value; };
  const auto name = [&](const char* prefix) { return prefix + std::to_string(below(5)); };
  Json patch = Json::object();
  for (unsigned members = 1 + below(4); members > 0; --members) {
    const Json traffic = maybe({{"if_index", below(9)}, {"in_bytes", below(1000)}});
    switch (below(8)) {
      case 0:
        patch["interfaces"][name("ge")] = maybe({{"oper_status", below(3)}, {"traffic", traffic}});
        break;
      case 1:
        patch["ssid_interfaces"][name("wl")] = maybe({{"ssid", name("net")}, {"traffic", traffic}});
        break;
      case 2:
        patch["radios"][name("r")] = maybe({{"band", below(2)}});
        break;
      case 3:
        patch["portal_users"][name("A4:00:00:00:00:0")] = maybe({{"username", name("user")}});
        break;
      case 4:
        patch["basic_info"] = maybe({{"hostname", name("host")}, {"ip", nullptr}});
        break;
      case 5:
        patch["cpu"] = below(100);
        break;
      case 6:
        patch["neighbours"] = maybe(Json::array({{{"mac", name("n")}, {"signal", -static_cast<int>(below(90))}}}));
        break;
      default:
        patch[below(2) == 0 ? "interfaces" : "credential"] = nullptr;
    }
  }
  return patch;
}

TEST(PatchedState, IsWhatTheLibraryMakesOfTheSamePatches) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    Json plain = Json::object();
    plain.merge_patch(RandomPatch(random));
    PatchedState patched(plain);
    for (int step = 0; step < 30; ++step) {
      const Json patch = RandomPatch(random);
      plain.merge_patch(patch);
      patched.Merge(patch);
      ASSERT_EQ(StateOf(patched.Snapshot()).dump(), StateOf(SnapshotOf(plain)).dump()) << seed << " " << patch;
    }
  }
}

TEST(PatchedState, RefusesAPatchThatMakesItNoState) {
  for (const char* patch :
       {R"({"interfaces": 5})", R"({"interfaces": {"ge1": 5}})", R"({"radios": {"r": {"band": "x"}}})",
        R"({"cpu": "much"})", R"({"unheard_of": 1})", R"({"ssid_interfaces": {"w": {"ssid_hex": "zz"}}})"}) {
    PatchedState state(Json::object());
    EXPECT_THROW(state.Merge(Json::parse(patch)), probe::recording::MalformedRecording) << patch;
  }
  PatchedState named(Json::parse(R"({"ssid_interfaces": {"w": {"ssid": "a"}}})"));
  EXPECT_THROW(named.Merge(Json::parse(R"({"ssid_interfaces": {"w": {"ssid_hex": "ff"}}})")),
               probe::recording::MalformedRecording)
      << "the record has both";
}

}  // namespace
