#include "tests/probe/app/probe_process.h"

#include <cstdlib>
#include <utility>

namespace test {
namespace {

std::vector<std::string> WordsOf(const std::vector<std::string>& arguments, ProbeProcess::Journal journal) {
  std::vector<std::string> words{ProbeProcess::File()};
  if (journal == ProbeProcess::Journal::kNone) words.emplace_back("--no-journal");
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

}  // namespace

ProbeProcess::ProbeProcess(const std::vector<std::string>& arguments, Journal journal, Output output)
    : ChildProcess(WordsOf(arguments, journal), output) {}

std::string ProbeProcess::File() {
  return VEXORA_PROBE_FILE;
}

int ProbeProcess::AwaitPort() {
  const std::string url = "ws://127.0.0.1:";
  if (!AwaitOutput(url) || !AwaitOutput("TrafficMonitor")) return 0;  // the last line of the start
  return std::atoi(output().c_str() + output().find(url) + url.size());
}

}  // namespace test
