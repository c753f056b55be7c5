#include "tests/support/local_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace test {
namespace {

void SetZone(const char* name) {
  setenv("TZ", name, 1);
  tzset();
}

}  // namespace

LocalZone::~LocalZone() {
  SetZone("UTC");
}

void LocalZone::Set(const std::string& name) {
  // the C library takes a zone that it does not find for UTC, without a word
  EXPECT_TRUE(std::filesystem::exists("/usr/share/zoneinfo/" + name)) << "install tzdata: there is no " << name;
  SetZone(name.c_str());
}

time_t At(int year, int month, int day, int hour, int minute, int second, int is_summer_time) {
  tm local{};
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  local.tm_isdst = is_summer_time;
  return mktime(&local);
}

}  // namespace test
