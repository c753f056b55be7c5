#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "monitor/engine/boundary.h"

namespace test {

/// Expects that `call`, in whose course something else than an exhausted heap is thrown, ends a debug build with `line`
/// on standard error, and returns in a release.
template <typename Call>
void ExpectDefect(Call call, const std::string& line) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  if constexpr (monitoring::kDefectPolicy == monitoring::DefectPolicy::kEndProcess) {
    EXPECT_DEATH(call(), ::testing::HasSubstr(line));
  } else {
    EXPECT_NO_THROW(call());
  }
}

}  // namespace test
