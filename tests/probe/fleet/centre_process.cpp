#include "tests/probe/fleet/centre_process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace test {

CentreProcess::CentreProcess(const std::vector<std::string>& servers, int replicas)
    : configuration_(folder_.Write("centre.toml", "[stream]\nreplicas = " + std::to_string(replicas) +
                                                      "\nservers = " + nlohmann::json(servers).dump() + "\n")) {
  Start();
}

void CentreProcess::Start() {
  centre_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{VEXORA_CENTRE_FILE, "--config", configuration_, "--port", "0"});
  const std::string url = "http://127.0.0.1:";
  ASSERT_TRUE(centre_->AwaitOutput(url)) << centre_->output();
  port_ = std::atoi(centre_->output().c_str() + centre_->output().find(url) + url.size());
}

void CentreProcess::Kill() {
  centre_->Signal(SIGKILL);
  centre_->AwaitExit();
}

void CentreProcess::AwaitReading() {
  EXPECT_TRUE(centre_->AwaitOutput("is read")) << centre_->output();
}

HttpResult CentreProcess::Get(const std::string& path) const {
  return HttpGet(port_, path);
}

}  // namespace test
