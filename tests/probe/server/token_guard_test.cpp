#include "probe/server/http/token_guard.h"

#include <gtest/gtest.h>

namespace {

using probe::TokenGuard;
using namespace std::chrono_literals;

TEST(TokenGuard, BlocksAnAddressAfterTenWrongTokensForTheRestOfTheMinute) {
  TokenGuard guard;
  const auto begin = TokenGuard::Clock::now();
  for (int number = 0; number < 9; ++number) guard.NoteWrong("192.0.2.1", begin + number * 1s);
  EXPECT_EQ(guard.BlockedFor("192.0.2.1", begin + 9s), std::nullopt);
  guard.NoteWrong("192.0.2.1", begin + 10s);
  EXPECT_EQ(guard.BlockedFor("192.0.2.1", begin + 10s), 50s);
  EXPECT_EQ(guard.BlockedFor("192.0.2.1", begin + 59500ms), 1s) << "never 0";
  EXPECT_EQ(guard.BlockedFor("192.0.2.2", begin + 10s), std::nullopt);
  EXPECT_EQ(guard.BlockedFor("192.0.2.1", begin + 60s), std::nullopt);
  guard.NoteWrong("192.0.2.1", begin + 60s);
  EXPECT_EQ(guard.BlockedFor("192.0.2.1", begin + 61s), std::nullopt) << "it begins anew";
}

TEST(TokenGuard, RemembersSoManyAddressesOnly) {
  TokenGuard guard;
  const auto begin = TokenGuard::Clock::now();
  for (int number = 0; number < 10; ++number) guard.NoteWrong("oldest", begin);
  for (std::size_t number = 0; number < TokenGuard::kMaxGroups; ++number)
    guard.NoteWrong(std::to_string(number), begin + 1s);
  EXPECT_EQ(guard.BlockedFor("oldest", begin + 1s), std::nullopt);
  for (int number = 0; number < 10; ++number) guard.NoteWrong("newest", begin + 2s);
  for (std::size_t number = 0; number < TokenGuard::kMaxGroups - 1; ++number)
    guard.NoteWrong("other" + std::to_string(number), begin + 2s);
  EXPECT_NE(guard.BlockedFor("newest", begin + 3s), std::nullopt) << "others began before";
  for (int number = 0; number < 10; ++number) guard.NoteWrong("later", begin + 70s);
  EXPECT_EQ(guard.BlockedFor("later", begin + 70s), 60s);
  EXPECT_EQ(guard.BlockedFor("newest", begin + 70s), std::nullopt);
}

}  // namespace
