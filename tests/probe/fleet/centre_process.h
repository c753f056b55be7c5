#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/probe/metrics/http_get.h"
#include "tests/support/child_process.h"
#include "tests/support/test_folder.h"

namespace test {

/// A `vexora-centre` as a process of its own, that makes the stream.
class CentreProcess {
 public:
  /// Starts it. `servers`: URLs. `replicas`: copies of the stream.
  explicit CentreProcess(const std::vector<std::string>& servers, int replicas = 3);

  void Start();

  /// Ends it, as a failure of power does.
  void Kill();

  /// Waits until it has read all that the stream has.
  void AwaitReading();

  HttpResult Get(const std::string& path) const;

  int port() const { return port_; }

 private:
  const TestFolder folder_;
  const std::string configuration_;
  std::unique_ptr<ChildProcess> centre_;
  int port_ = 0;
};

}  // namespace test
