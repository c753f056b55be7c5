#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/require.h"
#include "probe/server/http/http_head.h"
#include "probe/server/net/ip_address.h"
#include "probe/server/net/trusted_proxies.h"

using fuzzing::Require;
using probe::HeadReader;
using probe::RequestHead;

namespace {

/// What a connection's octets are read as.
struct Reading {
  std::vector<RequestHead> heads;
  unsigned refused = 0;  // the status of the refusal that ends it; 0: none
};

void RequireFit(const RequestHead& head) {
  Require(!head.method.empty());
  Require(!head.path.empty());
  Require(head.path.find_first_of(std::string_view("\r\n\0 ", 4)) == std::string::npos);
  Require(head.host.has_value() || !head.has_two_hosts);
  static const probe::TrustedProxies proxies({"127.0.0.1", "10.0.0.0/8", "2001:db8::/32"});
  const std::string client = proxies.ClientOf("127.0.0.1", head.forwarded_for);
  Require(!client.empty() && probe::CanonicalAddress(client) == client);
}

Reading Read(std::string_view octets, std::size_t piece) {
  Reading reading;
  HeadReader reader;
  for (std::size_t begin = 0; begin < octets.size(); begin += piece) {
    auto state = reader.Add(octets.substr(begin, piece));
    while (state == HeadReader::State::kComplete) {
      auto head = reader.Take();
      if (!head) break;
      RequireFit(*head);
      reading.heads.push_back(std::move(*head));
      state = reader.state();
    }
    if (reader.error().status != 0) {
      Require(reader.error().status >= 400 && reader.error().status < 600 && !reader.error().text.empty());
      reading.refused = reader.error().status;
      break;
    }
  }
  return reading;
}

}  // namespace

/// The first octet says how the others are cut into pieces, which must make no difference.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view octets(reinterpret_cast<const char*>(data) + 1, size - 1);
  const Reading whole = Read(octets, std::max<std::size_t>(octets.size(), 1));
  const Reading pieces = Read(octets, std::size_t{1} + data[0]);
  Require(whole.refused == pieces.refused && whole.heads.size() == pieces.heads.size());
  for (std::size_t at = 0; at < whole.heads.size(); ++at) {
    Require(whole.heads[at].method == pieces.heads[at].method && whole.heads[at].path == pieces.heads[at].path);
    Require(whole.heads[at].host == pieces.heads[at].host && whole.heads[at].origin == pieces.heads[at].origin);
  }
  return 0;
}
