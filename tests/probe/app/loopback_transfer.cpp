#include "tests/probe/app/loopback_transfer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace test {
namespace {

/// A file descriptor that is closed with its scope.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {
    if (descriptor < 0) throw std::runtime_error(std::strerror(errno));
  }
  ~Descriptor() { close(descriptor_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

void Require(bool worked) {
  if (!worked) throw std::runtime_error(std::strerror(errno));
}

/// A socket that listens on a free port of the loopback. `address` becomes where.
int Listen(sockaddr_in& address) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  Require(listener >= 0);
  address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  Require(bind(listener, reinterpret_cast<sockaddr*>(&address), length) == 0);
  Require(listen(listener, 1) == 0);
  Require(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) == 0);
  return listener;
}

void SendFile(int listener, const std::string& path) {
  const Descriptor connection(accept(listener, nullptr, nullptr));
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  constexpr std::size_t kChunk = 1 << 20;
  ssize_t sent = 1;
  while (sent > 0) sent = sendfile(connection.get(), file.get(), nullptr, kChunk);
}

}  // namespace

void WriteLargeFile(const std::string& path, std::uint64_t octets) {
  std::vector<char> block(1 << 20);
  std::iota(block.begin(), block.end(), '\0');
  std::ofstream file(path, std::ios::binary);
  while (octets > 0) {
    const std::uint64_t length = std::min<std::uint64_t>(octets, block.size());
    file.write(block.data(), static_cast<std::streamsize>(length));
    octets -= length;
  }
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::uint64_t TransferOverLoopback(const std::string& path) {
  sockaddr_in address{};
  const Descriptor listener(Listen(address));
  const Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  Require(connect(connection.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
  std::thread sender([&] { SendFile(listener.get(), path); });
  std::vector<char> buffer(1 << 20);
  std::uint64_t arrived = 0;
  ssize_t received = 1;
  while (received > 0) {
    received = recv(connection.get(), buffer.data(), buffer.size(), 0);
    if (received > 0) arrived += static_cast<std::uint64_t>(received);
  }
  sender.join();
  return arrived;
}

}  // namespace test
