#include "monitor/reports/client/client_report_show.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using monitoring::client_report::TypeMode2Str;
using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

struct ModeName {
  int mode;
  const char* name;
};

class ClientReportShowTypes : public ::testing::TestWithParam<ModeName> {};

TEST_P(ClientReportShowTypes, NamesModeAndBand) {
  const auto mode = static_cast<WIFIOpMode>(GetParam().mode);
  const std::string name = GetParam().name;
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::k2_4GHz), name + "2.4GHz");
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::k5GHz), name + "5GHz");
  EXPECT_EQ(TypeMode2Str(mode, WIFIBandType::kUnknown), name + "Unknown");
  EXPECT_EQ(TypeMode2Str(mode, static_cast<WIFIBandType>(2)), name + "Unknown");
}

INSTANTIATE_TEST_SUITE_P(EachMode, ClientReportShowTypes,
                         ::testing::Values(ModeName{-1, "Unknown/"}, ModeName{0, "802.11a/"}, ModeName{1, "Unknown/"},
                                           ModeName{2, "Unknown/"}, ModeName{3, "Unknown/"}, ModeName{4, "Unknown/"},
                                           ModeName{5, "802.11n/"}, ModeName{6, "802.11b/"}, ModeName{7, "802.11g/"},
                                           ModeName{8, "802.11ac/"}, ModeName{9, "Unknown/"}));

TEST(ClientReportShow, NamesMode5OnBand1AndMode3OnBand2) {
  EXPECT_EQ(TypeMode2Str(static_cast<WIFIOpMode>(5), static_cast<WIFIBandType>(1)), "802.11n/5GHz");
  EXPECT_EQ(TypeMode2Str(static_cast<WIFIOpMode>(3), static_cast<WIFIBandType>(2)), "Unknown/Unknown");
}

}  // namespace
