#include <gtest/gtest.h>

#include <new>
#include <string>

#include "monitor/engine/pass_devices.h"
#include "tests/support/shortage/heap_shortage.h"

namespace {

/// A pass that does not know of a clean-up would bring the device back for ever: it is not made.
TEST(PassCleanUpsShortage, ACleanUpThatCannotBeNotedEndsThePassesThatBeginAfterIt) {
  auto& notes = monitoring::PassCleanUps::GetInstance();
  const std::string mac = "a MAC that no short string holds";
  monitoring::PassDevices devices;
  notes.Open();
  {
    const test::HeapShortage shortage(0);
    EXPECT_NO_THROW(notes.Note(mac));
    EXPECT_TRUE(test::HeapShortage::HasStruck());
  }
  EXPECT_THROW(devices.Begin({mac}), std::bad_alloc);
  notes.Open();
  EXPECT_EQ(devices.Begin({mac}).size(), 1U);
  notes.Close();
}

}  // namespace
