#include "tests/support/snmp/snmpd_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace test {
namespace {

sockaddr_in Loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// Whether somebody has bound the port on 127.0.0.1. Looked up in the kernel's list, for to bind it oneself would be in
/// the way of who is just about to. Source: proc(5), /proc/net/udp.
bool IsTaken(std::uint16_t port) {
  std::array<char, 32> wanted{};
  std::snprintf(wanted.data(), wanted.size(), " %08X:%04X ", htonl(INADDR_LOOPBACK), port);
  std::ifstream sockets("/proc/net/udp");
  for (std::string line; std::getline(sockets, line);) {
    if (line.find(wanted.data()) != std::string::npos) return true;
  }
  return false;
}

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

pid_t Spawn(std::vector<std::string> words, std::vector<std::string> environment) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  std::vector<char*> variables;
  for (std::string& variable : environment) variables.push_back(variable.data());
  variables.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int result = posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), variables.data());
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) throw std::runtime_error("cannot start " + words[0]);
  return pid;
}

}  // namespace

std::uint16_t FreeUdpPort() {
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  const bool has_port = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  close(descriptor);
  if (!has_port) throw std::runtime_error("no free UDP port");
  return ntohs(address.sin_port);
}

SnmpdProcess::SnmpdProcess(const std::string& walk, const std::vector<std::string>& lines)
    : port_(FreeUdpPort()), serves_walk_(!walk.empty()) {
  std::string configuration =
      "agentaddress udp:127.0.0.1:" + std::to_string(port_) + "\nrocommunity public 127.0.0.1\n";
  configuration += Joined(lines);
  if (serves_walk_) {
    configuration += "pass_persist .1.3.6.1 " VEXORA_SERVE_WALK " " + folder_.Path("walk.snmprec") + "\n";
    Serve(walk);
  }
  folder_.Write("snmpd.conf", configuration);
  Start();
}

SnmpdProcess::~SnmpdProcess() {
  Stop();
}

void SnmpdProcess::Serve(const std::string& walk) const {
  // As a whole, so that the program that serves it never reads half a file.
  folder_.Write("walk.new", walk);
  std::filesystem::rename(folder_.Path("walk.new"), folder_.Path("walk.snmprec"));
}

void SnmpdProcess::Start() {
  std::vector<std::string> words{VEXORA_SNMPD, "-f", "-Lf", folder_.Path("snmpd.log")};
  if (serves_walk_) {
    // Without its own modules, which would stand in front of the walk.
    words.insert(words.end(), {"-I", "pass_persist,vacm_conf,vacm_vars,usmConf,usm_conf,snmpv3"});
  }
  // Its own state is one of the folders for its configuration: that is how it counts its reboots.
  const std::string state = folder_.Path("state");
  pid_ = Spawn(words, {"PATH=/usr/bin:/bin", "MIBS=", "SNMP_PERSISTENT_DIR=" + state,
                       "SNMPCONFPATH=" + folder_.Path("") + ":" + state});
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!IsTaken(port_)) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("snmpd does not listen");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void SnmpdProcess::Restart() {
  Stop();
  Start();
}

void SnmpdProcess::RestartWithoutState() {
  Stop();
  std::filesystem::remove_all(folder_.Path("state"));
  Start();
}

void SnmpdProcess::Stop() {
  if (pid_ == 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
  pid_ = 0;
}

}  // namespace test
