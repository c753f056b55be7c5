#include "probe/sources/simulated/attendance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <optional>
#include <vector>

#include "tests/probe/sources/simulated/given_clients.h"

namespace probe::simulated {
namespace {

class AttendanceTest : public GivenClients {
 protected:
  std::size_t There(const std::vector<Client>& clients, time_t now) const {
    const Moment moment = MomentOf(now);
    return static_cast<std::size_t>(std::count_if(clients.begin(), clients.end(),
                                                  [&](const Client& client) { return IsThere(dice, client, moment); }));
  }
};

TEST_F(AttendanceTest, ComeInTheMorningAndLeaveInTheEvening) {
  const std::vector<Client> laptops = Of(ClientKind::kLaptop);
  ASSERT_EQ(laptops.size(), 160U);
  EXPECT_EQ(There(laptops, kMonday + 7 * kHour), 0U);
  EXPECT_GT(There(laptops, kMonday + 9 * kHour), 30U);
  EXPECT_GT(There(laptops, kMonday + 11 * kHour), 120U);
  EXPECT_LT(There(laptops, kMonday + 21 * kHour), 20U);
  EXPECT_EQ(There(laptops, kMonday + 23 * kHour + 30 * kMinute), 0U);
}

TEST_F(AttendanceTest, StayAtHomeAtWeekends) {
  EXPECT_LT(There(Of(ClientKind::kPhone), kMonday + 5 * kDay + 11 * kHour), 12U);
  EXPECT_EQ(There(Of(ClientKind::kVisitor), kMonday + 6 * kDay + 11 * kHour), 0U);
  EXPECT_GT(There(Of(ClientKind::kThing), kMonday + 6 * kDay + 11 * kHour), 36U);
}

TEST_F(AttendanceTest, LeavePhonesAsleepNowAndThen) {
  const Client phone = Of(ClientKind::kPhone)[0];
  int absences = 0;
  int there = 0;
  for (time_t day = 0; day < 5; ++day) {
    for (time_t minute = 0; minute < 4 * 60; ++minute) {
      const bool is_there = IsThere(dice, phone, MomentOf(kMonday + day * kDay + 11 * kHour + minute * kMinute));
      (is_there ? there : absences) += 1;
    }
  }
  EXPECT_GT(absences, 0);
  EXPECT_GT(there, 400);
}

TEST_F(AttendanceTest, SignInToThePortalAfterTheyCame) {
  std::size_t visits = 0;
  std::size_t signed_in = 0;
  for (const Client& visitor : Of(ClientKind::kVisitor)) {
    const std::optional<Stay> stay = StayOn(dice, visitor, kMonday / kDay);
    if (!stay) continue;
    ++visits;
    EXPECT_FALSE(HasSignedIn(dice, visitor, MomentOf(kMonday + stay->arrives * kMinute)));
    EXPECT_FALSE(HasSignedIn(dice, visitor, MomentOf(kMonday + stay->leaves * kMinute)));
    signed_in += HasSignedIn(dice, visitor, MomentOf(kMonday + (stay->arrives + 5) * kMinute)) ? 1 : 0;
  }
  EXPECT_GT(visits, 15U);
  EXPECT_GT(signed_in, visits * 7 / 10);
  EXPECT_LT(signed_in, 40U);
  EXPECT_FALSE(HasSignedIn(dice, Of(ClientKind::kLaptop)[0], MomentOf(kMonday + 11 * kHour)));
}

}  // namespace
}  // namespace probe::simulated
