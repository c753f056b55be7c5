#include "tests/support/snmp/agent_process.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/support/snmp/messages.h"

namespace test {
namespace {

using probe::snmp::Oid;
using probe::snmp::Value;
using probe::snmp::ValueType;
using Clock = std::chrono::steady_clock;

/// An answer that is due later.
struct DueAnswer {
  int descriptor = 0;
  sockaddr_in to{};
  std::string packet;
};

int BindSocket(std::uint16_t& port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    throw std::runtime_error("no port for an agent");
  }
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  port = ntohs(address.sin_port);
  return descriptor;
}

void SendAnswer(const DueAnswer& answer) {
  sendto(answer.descriptor, answer.packet.data(), answer.packet.size(), 0,
         reinterpret_cast<const sockaddr*>(&answer.to), sizeof answer.to);
}

/// What the process of the agents does.
class AgentLoop {
 public:
  AgentLoop(const std::map<Oid, Value>& objects, const std::vector<std::chrono::milliseconds>& delays,
            std::vector<pollfd> sockets)
      : objects_(objects), delays_(delays), sockets_(std::move(sockets)) {}

  [[noreturn]] void Run() {
    while (true) {
      poll(sockets_.data(), sockets_.size(), Patience());
      for (std::size_t i = 0; i < sockets_.size(); ++i) {
        if (sockets_[i].revents != 0) Take(i);
      }
      while (!due_.empty() && due_.begin()->first <= Clock::now()) {
        SendAnswer(due_.begin()->second);
        due_.erase(due_.begin());
      }
    }
  }

 private:
  /// Milliseconds until an answer is due; below 0 for none.
  int Patience() const {
    if (due_.empty()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due_.begin()->first - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
  }

  void Take(std::size_t agent) {
    DueAnswer answer{.descriptor = sockets_[agent].fd, .to = {}, .packet = {}};
    socklen_t length = sizeof answer.to;
    const ssize_t size = recvfrom(answer.descriptor, buffer_.data(), buffer_.size(), 0,
                                  reinterpret_cast<sockaddr*>(&answer.to), &length);
    if (size <= 0 || delays_[agent] == AgentProcess::kSilent) return;
    const auto request = ReadSnmpRequest(std::string(buffer_.data(), static_cast<std::size_t>(size)));
    if (!request) return;
    answer.packet = AnswerFrom(objects_, *request);
    if (delays_[agent].count() == 0) {
      SendAnswer(answer);
    } else {
      due_.emplace(Clock::now() + delays_[agent], std::move(answer));
    }
  }

  const std::map<Oid, Value>& objects_;
  const std::vector<std::chrono::milliseconds>& delays_;
  std::vector<pollfd> sockets_;
  std::multimap<Clock::time_point, DueAnswer> due_;
  std::array<char, 65536> buffer_{};
};

}  // namespace

AgentProcess::AgentProcess(const std::map<Oid, Value>& objects, const std::vector<std::chrono::milliseconds>& delays) {
  std::vector<pollfd> sockets;
  for (std::size_t i = 0; i < delays.size(); ++i) {
    sockets.push_back({.fd = BindSocket(ports_.emplace_back()), .events = POLLIN, .revents = 0});
  }
  child_ = fork();
  if (child_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    AgentLoop(objects, delays, std::move(sockets)).Run();
  }
  for (const pollfd& one : sockets) close(one.fd);
  if (child_ < 0) throw std::runtime_error("no process for the agents");
}

AgentProcess::~AgentProcess() {
  kill(child_, SIGKILL);
  waitpid(child_, nullptr, 0);
}

std::vector<Oid> SwitchColumns(bool is_extension) {
  std::vector<Oid> columns;
  const Oid table = is_extension ? Oid{1, 3, 6, 1, 2, 1, 31, 1, 1, 1} : Oid{1, 3, 6, 1, 2, 1, 2, 2, 1};
  const std::vector<std::uint32_t> numbers =
      is_extension ? std::vector<std::uint32_t>{1, 6, 10, 15, 19} : std::vector<std::uint32_t>{2, 3, 5, 6, 8, 10, 16};
  for (const std::uint32_t number : numbers) {
    Oid column = table;
    column.push_back(number);
    columns.push_back(column);
  }
  return columns;
}

const std::vector<Oid>& SwitchSystemGroup() {
  static const std::vector<Oid> objects{{1, 3, 6, 1, 2, 1, 1, 1, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 2, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 3, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 5, 0}};
  return objects;
}

std::map<Oid, Value> SwitchObjects(std::uint32_t ports) {
  std::map<Oid, Value> objects;
  for (const Oid& object : SwitchSystemGroup()) objects[object] = {ValueType::kOctets, std::string("a switch")};
  for (const bool is_extension : {false, true}) {
    for (Oid cell : SwitchColumns(is_extension)) {
      cell.push_back(0);
      for (cell.back() = 1; cell.back() <= ports; ++cell.back()) {
        objects[cell] = {ValueType::kCounter64, std::uint64_t{1'000'000'000'000} + cell.back()};
      }
    }
  }
  // So that the last column ends with another object, as on a device.
  objects[{1, 3, 6, 1, 2, 1, 99, 1, 0}] = {ValueType::kInteger, std::int64_t{1}};
  return objects;
}

}  // namespace test
