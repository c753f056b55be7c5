#include "probe/metrics/exposition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "probe/clock/duration_histogram.h"
#include "probe/metrics/families.h"

namespace {

using probe::metrics::Format;
using probe::metrics::FormatFor;
using probe::metrics::Serialise;
using ::testing::HasSubstr;
using namespace std::chrono_literals;

std::vector<prometheus::MetricFamily> SomeFamilies() {
  std::vector<prometheus::MetricFamily> families;
  probe::metrics::AddGauge(families, "vexora_a_ratio", "A.", 0.25);
  auto counter = probe::metrics::CounterFamily("vexora_b_total", "Says # HELP vexora_b_total too.");
  counter.Add({{"name", "a\"b\\c\nd"}}, 9'007'199'254'740'991.0);
  counter.MoveTo(families);
  probe::DurationHistogram times;
  times.Note(3s);
  times.Note(61s);
  auto histogram = probe::metrics::HistogramFamily("vexora_c_seconds", "C.");
  histogram.Add(times);
  histogram.MoveTo(families);
  probe::metrics::GaugeFamily("vexora_none", "Without a sample.").MoveTo(families);
  return families;
}

TEST(Exposition, WritesTheClassicText) {
  const std::string text = Serialise(SomeFamilies(), Format::kText);
  EXPECT_THAT(text, HasSubstr("# HELP vexora_a_ratio A.\n# TYPE vexora_a_ratio gauge\nvexora_a_ratio 0.25\n"));
  EXPECT_THAT(text,
              HasSubstr("# TYPE vexora_b_total counter\nvexora_b_total{name=\"a\\\"b\\\\c\\nd\"} 9007199254740991\n"));
  EXPECT_THAT(text, HasSubstr("vexora_c_seconds_count 2\nvexora_c_seconds_sum 64\n"));
  EXPECT_THAT(text, HasSubstr("vexora_c_seconds_bucket{le=\"2.5\"} 0\nvexora_c_seconds_bucket{le=\"5\"} 1\n"
                              "vexora_c_seconds_bucket{le=\"15\"} 1\nvexora_c_seconds_bucket{le=\"60\"} 1\n"
                              "vexora_c_seconds_bucket{le=\"+Inf\"} 2\n"));
  EXPECT_EQ(text.find("vexora_none"), std::string::npos);
  EXPECT_EQ(text.find("EOF"), std::string::npos);
}

TEST(Exposition, NamesCountersWithoutTheirSuffixInOpenMetricsAndEndsIt) {
  const std::string text = Serialise(SomeFamilies(), Format::kOpenMetrics);
  EXPECT_THAT(text, HasSubstr("# HELP vexora_b Says # HELP vexora_b_total too.\n# TYPE vexora_b counter\n"
                              "vexora_b_total{name=\"a\\\"b\\\\c\\nd\"} 9007199254740991\n"));
  EXPECT_THAT(text, ::testing::EndsWith("\n# EOF\n"));
}

TEST(Exposition, WritesTimesInTheUnitOfItsFormat) {
  auto family = probe::metrics::GaugeFamily("vexora_timed", "Timed.");
  family.AddAt({}, 5, 1'795'169'400);
  std::vector<prometheus::MetricFamily> families;
  family.MoveTo(families);
  EXPECT_THAT(Serialise(families, Format::kText), HasSubstr("\nvexora_timed 5 1795169400000\n"));
  EXPECT_THAT(Serialise(families, Format::kOpenMetrics), HasSubstr("\nvexora_timed 5 1795169400\n"));
}

TEST(Exposition, WritesAllOfATextThatIsLongerThanMostAre) {
  std::vector<prometheus::MetricFamily> families;
  auto family = probe::metrics::CounterFamily("vexora_long_total", "Long.");
  std::string expected = "# HELP vexora_long Long.\n# TYPE vexora_long counter\n";
  for (int number = 0; number < 1000; ++number) {
    const std::string value(1000, static_cast<char>('a' + number % 26));
    family.Add({{"number", std::to_string(number)}, {"name", value}}, number);
    expected.append("vexora_long_total{number=\"").append(std::to_string(number)).append("\",name=\"").append(value);
    expected.append("\"} ").append(std::to_string(number)).append("\n");
  }
  family.MoveTo(families);
  EXPECT_EQ(Serialise(std::move(families), Format::kOpenMetrics), expected + "# EOF\n");
}

TEST(Exposition, IsOpenMetricsForThoseWhoNameIt) {
  EXPECT_EQ(FormatFor(""), Format::kText);
  EXPECT_EQ(FormatFor("*/*"), Format::kText);
  EXPECT_EQ(FormatFor("text/plain;version=0.0.4"), Format::kText);
  EXPECT_EQ(FormatFor("application/openmetrics-text"), Format::kOpenMetrics);
  EXPECT_EQ(FormatFor("application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,"
                      "text/plain;version=0.0.4;q=0.5,*/*;q=0.1"),
            Format::kOpenMetrics);
  EXPECT_EQ(FormatFor("text/plain, Application/OpenMetrics-Text ; charset=utf-8; version=1.0.0"), Format::kOpenMetrics);
  EXPECT_EQ(FormatFor("application/openmetrics-text;version=0.0.1"), Format::kText);
  EXPECT_EQ(FormatFor("application/openmetrics-text;q=0, text/plain"), Format::kText);
  EXPECT_EQ(FormatFor("application/openmetrics-text;q=0.05"), Format::kOpenMetrics);
  EXPECT_EQ(FormatFor("application/openmetrics-textual"), Format::kText);
}

}  // namespace
