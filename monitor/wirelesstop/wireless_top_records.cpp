#include "monitor/wirelesstop/wireless_top_records.h"

namespace monitoring::wirelesstop {

NetStream& StreamOf(Streams& streams, const std::string& name, const std::string& desc) {
  std::shared_ptr<NetStream>& stream = streams[name];
  if (stream == nullptr) {
    stream = std::make_shared<NetStream>();
    stream->name = name;
    stream->desc = desc;
  }
  return *stream;
}

void AddOctets(NetStream& stream, std::uint64_t in_bytes, std::uint64_t out_bytes) {
  constexpr int kOctetsToKib = 10;  // a shift
  stream.in += in_bytes >> kOctetsToKib;
  stream.out += out_bytes >> kOctetsToKib;
}

void AddClients(ClientCounts& counts, const std::string& name, std::int32_t clients) {
  std::int32_t& count = counts[name];
  // a device may report any number, and a signed sum must not overflow
  count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + static_cast<std::uint32_t>(clients));
}

}  // namespace monitoring::wirelesstop
