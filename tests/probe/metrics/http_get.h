#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace test {

/// An HTTP answer.
struct HttpResult {
  int status = 0;  ///< 0: none came.
  std::string head;
  std::string body;
};

/// Asks a server on the loopback, with HTTP 1.0, so that the body comes as it is.
HttpResult HttpGet(int port, const std::string& target, const std::string& headers = {});

/// A text as a part of a query. RFC 3986, section 2.1
std::string PercentEncoded(const std::string& text);

}  // namespace test
