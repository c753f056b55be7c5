#include "tests/probe/metrics/prometheus_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/probe/metrics/http_get.h"

namespace test {

using nlohmann::json;

PrometheusProcess::PrometheusProcess(const std::string& configuration, const std::string& data)
    : ChildProcess({"prometheus", "--config.file=" + configuration, "--storage.tsdb.path=" + data,
                    "--web.listen-address=127.0.0.1:0"}) {}

int PrometheusProcess::AwaitPort() {
  const std::string words = "\"Listening on\" address=127.0.0.1:";
  if (!AwaitOutput(words) || !AwaitOutput("ready to receive web requests")) return 0;
  port_ = std::atoi(output().c_str() + output().find(words) + words.size());
  return port_;
}

std::string PrometheusProcess::Get(const std::string& path) const {
  return HttpGet(port_, path).body;
}

json PrometheusProcess::Query(const std::string& expression) const {
  const std::string body = Get("/api/v1/query?query=" + PercentEncoded(expression));
  const json answer = json::parse(body, nullptr, false);
  EXPECT_EQ(answer.value("status", ""), "success") << expression << "\n" << body;
  return answer.is_object() && answer.contains("data") ? answer["data"]["result"] : json::array();
}

bool PrometheusProcess::Await(const std::string& expression) const {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (Query(expression).empty()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return true;
}

}  // namespace test
