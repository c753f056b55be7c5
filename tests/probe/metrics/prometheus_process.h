#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tests/support/child_process.h"

namespace test {

/// A Prometheus as a process of its own.
class PrometheusProcess : public ChildProcess {
 public:
  /// `configuration`: its file. `data`: the folder of its samples.
  PrometheusProcess(const std::string& configuration, const std::string& data);

  /// The port that it said it listens on; 0 when it ended without having said so.
  int AwaitPort();

  /// What it answers to a query: samples with labels and values. `AwaitPort` has to come first, as before the next two.
  nlohmann::json Query(const std::string& expression) const;

  /// Waits until a query has samples. False when that takes longer than a minute.
  bool Await(const std::string& expression) const;

  /// The body of what it has at this path.
  std::string Get(const std::string& path) const;

 private:
  int port_ = 0;
};

}  // namespace test
