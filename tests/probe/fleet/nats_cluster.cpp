#include "tests/probe/fleet/nats_cluster.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include "probe/uplink/nats_connection.h"
#include "probe/uplink/nats_login.h"
#include "probe/uplink/uplink_settings.h"

namespace test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int kLook = 20;  // milliseconds

using StreamInfo = std::unique_ptr<jsStreamInfo, probe::uplink::ReleaseNats<&jsStreamInfo_Destroy>>;

/// While no server leads nobody answers, and an answer that comes late is of no use.
jsOptions NotForLong() {
  jsOptions options;
  jsOptions_Init(&options);
  options.Wait = 500;
  return options;
}

StreamInfo InfoOf(jsCtx* streams, const std::string& stream) {
  jsStreamInfo* made = nullptr;
  jsOptions options = NotForLong();
  js_GetStreamInfo(&made, streams, stream.c_str(), &options, nullptr);
  return StreamInfo(made);
}

bool IsFree(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool is_free = bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return is_free;
}

/// Ports on which the servers find each other: they have to be known before the first server starts. They are below
/// those that the kernel gives to whoever asks for any, and differ from process to process.
std::vector<int> RoutePorts() {
  constexpr int kFirst = 20'000;
  constexpr int kLast = 32'000;
  std::vector<int> ports;
  for (int port = kFirst + getpid() * 7 % (kLast - kFirst); ports.size() < NatsCluster::kServers; ++port)
    if (IsFree(port)) ports.push_back(port);
  return ports;
}

std::string NameOf(std::size_t server) {
  return "server-" + std::to_string(server);
}

}  // namespace

NatsCluster::NatsCluster() {
  std::vector<std::string> routes;
  for (const int port : RoutePorts()) routes.push_back("nats://127.0.0.1:" + std::to_string(port));
  for (std::size_t server = 0; server < kServers; ++server) {
    servers_.push_back(std::make_unique<NatsServer>(
        std::vector<std::string>{"--name", NameOf(server), "--cluster_name", "fleet", "--cluster", routes[server],
                                 "--no_advertise", "--routes", routes[0] + "," + routes[1] + "," + routes[2]}));
  }
}

std::vector<std::string> NatsCluster::urls() const {
  std::vector<std::string> urls;
  for (const auto& server : servers_) urls.push_back(server->url());
  return urls;
}

probe::uplink::NatsOptions NatsCluster::options() const {
  probe::uplink::NatsLogin login;
  login.servers = urls();
  return probe::uplink::OptionsFor(login, "test", "_INBOX_test");
}

StreamWatcher::StreamWatcher(const NatsCluster& cluster, std::string stream)
    : stream_(std::move(stream)), reader_(cluster.urls().front(), cluster.options()) {}

void StreamWatcher::ForgetIdsAtOnce() {
  const StreamInfo info = InfoOf(reader_.streams(), stream_);
  ASSERT_NE(info, nullptr);
  info->Config->Duplicates = std::chrono::nanoseconds(milliseconds(100)).count();
  ASSERT_EQ(js_UpdateStream(nullptr, reader_.streams(), info->Config, nullptr, nullptr), NATS_OK);
}

std::size_t StreamWatcher::AwaitLeader() {
  const auto deadline = steady_clock::now() + kPatience;
  while (steady_clock::now() < deadline) {
    const StreamInfo info = InfoOf(reader_.streams(), stream_);
    for (std::size_t server = 0; info && info->Cluster && info->Cluster->Leader && server < NatsCluster::kServers;
         ++server)
      if (info->Cluster->Leader == NameOf(server)) return server;
    nats_Sleep(kLook);
  }
  ADD_FAILURE() << "no server leads the stream";
  return 0;
}

bool StreamWatcher::AwaitAllCurrent() {
  const auto deadline = steady_clock::now() + kPatience;
  while (steady_clock::now() < deadline) {
    const StreamInfo info = InfoOf(reader_.streams(), stream_);
    if (info && info->Cluster && info->Cluster->ReplicasLen + 1 == static_cast<int>(NatsCluster::kServers)) {
      jsPeerInfo** const first = info->Cluster->Replicas;
      if (std::all_of(first, first + info->Cluster->ReplicasLen,
                      [](const jsPeerInfo* peer) { return peer->Current && !peer->Offline; }))
        return true;
    }
    nats_Sleep(kLook);
  }
  return false;
}

std::optional<std::string> StreamWatcher::LastIdOf(const std::string& subject) {
  natsMsg* made = nullptr;
  jsOptions options = NotForLong();
  if (js_GetLastMsg(&made, reader_.streams(), stream_.c_str(), subject.c_str(), &options, nullptr) != NATS_OK)
    return std::nullopt;
  const probe::uplink::NatsMessage message(made);
  return probe::uplink::HeaderOf(made, probe::uplink::kMessageId);
}

std::vector<StoredMessage> StreamWatcher::All() {
  const StreamInfo info = InfoOf(reader_.streams(), stream_);
  return info ? reader_.Await(info->State.LastSeq) : std::vector<StoredMessage>();
}

}  // namespace test
