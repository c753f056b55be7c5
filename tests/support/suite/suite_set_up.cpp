// Part of every test program: makes a test whose suite could not be set up fail.
//
// GoogleTest says of such a test that it was skipped, and of its suite that it failed. CTest, which runs each test by
// itself, looks for the first, and would count a broken set-up as skipped.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

/// Ends a program that runs one test, when what comes before that has failed.
class SuiteSetUp : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    is_failed_ = is_failed_ || (result.failed() && !is_in_test_);
  }
  void OnTestEnd(const testing::TestInfo&) override { is_in_test_ = false; }
  void OnTestStart(const testing::TestInfo& test) override {
    is_in_test_ = true;
    if (!is_failed_ || testing::UnitTest::GetInstance()->test_to_run_count() != 1) return;
    std::printf("[  FAILED  ] %s: its suite could not be set up\n", test.test_suite_name());
    std::fflush(stdout);
    std::_Exit(1);
  }

  bool is_in_test_ = false;
  bool is_failed_ = false;  // outside of a test
};

// GoogleTest owns its listeners.
const bool is_installed = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new SuiteSetUp);
  return true;
}();

}  // namespace
