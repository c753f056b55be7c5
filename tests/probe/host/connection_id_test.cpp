#include "probe/host/connection_id.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using probe::ConnectionId;
using probe::FromHandle;
using probe::ToHandle;

TEST(ConnectionId, IsTheSameAfterTheWayThroughTheContract) {
  for (const ConnectionId id :
       {ConnectionId{1}, ConnectionId{2}, ConnectionId{std::numeric_limits<std::uintptr_t>::max()}})
    EXPECT_EQ(FromHandle(ToHandle(id)), id);
}

TEST(ConnectionId, HasAHandleOfItsOwn) {
  EXPECT_NE(ToHandle(ConnectionId{1}), ToHandle(ConnectionId{2}));
}

TEST(ConnectionId, IsTheNullPointerForNoConnection) {
  EXPECT_EQ(ToHandle(probe::kNoConnection), nullptr);
  EXPECT_EQ(FromHandle(nullptr), probe::kNoConnection);
}

}  // namespace
