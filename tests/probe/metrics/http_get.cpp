#include "tests/probe/metrics/http_get.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "tests/probe/server/raw_client.h"

namespace test {
HttpResult HttpGet(int port, const std::string& target, const std::string& headers) try {
  RawClient client(static_cast<std::uint16_t>(port));
  client.Send("GET " + target + " HTTP/1.0\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" + headers + "\r\n");
  const std::string answer = client.ReadAll();
  HttpResult result;
  const std::size_t end = answer.find("\r\n\r\n");
  if (end == std::string::npos) return result;
  result.head = answer.substr(0, end + 2);
  result.body = answer.substr(end + 4);
  result.status = std::atoi(result.head.c_str() + result.head.find(' '));
  return result;
} catch (const std::runtime_error&) {  // nobody listens, or says nothing
  return {};
}

std::string PercentEncoded(const std::string& text) {
  std::string encoded;
  for (const char octet : text) {
    if (std::isalnum(static_cast<unsigned char>(octet)) != 0) {
      encoded += octet;
      continue;
    }
    std::array<char, 4> escape{};
    std::snprintf(escape.data(), escape.size(), "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(octet)));
    encoded += escape.data();
  }
  return encoded;
}

}  // namespace test
