#include "tests/support/snmp/fake_agent.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>

#include "probe/sources/snmp/wait.h"

namespace test {
namespace {

using probe::snmp::Wait;
using utilities::lock::lock_guard;

sockaddr_in Loopback(std::uint16_t port_in_network_order) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = port_in_network_order;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

FakeAgent::FakeAgent(Answerer answer)
    : answer_(std::move(answer)), descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
      getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    close(descriptor_);
    throw std::runtime_error("no UDP port");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread(&FakeAgent::Run, this);
}

FakeAgent::~FakeAgent() {
  stop_.Set();
  thread_.join();
  close(descriptor_);
}

int FakeAgent::packets() const {
  const lock_guard held(lock_);
  return packets_;
}

void FakeAgent::Send(const std::string& packet) {
  const lock_guard held(lock_);
  const sockaddr_in address = Loopback(asker_);
  sendto(descriptor_, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void FakeAgent::Run() {
  constexpr auto kForever = std::chrono::steady_clock::time_point::max();
  std::array<char, 65536> buffer{};
  while (probe::snmp::WaitForInput(descriptor_, kForever, &stop_) != Wait::kStopped) {
    sockaddr_in from{};
    socklen_t length = sizeof from;
    const ssize_t size =
        recvfrom(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &length);
    if (size < 0) continue;
    {
      const lock_guard held(lock_);
      ++packets_;
      asker_ = from.sin_port;
    }
    for (const std::string& packet : answer_(std::string(buffer.data(), static_cast<std::size_t>(size)))) Send(packet);
  }
}

}  // namespace test
