#pragma once

#include <string>

namespace probe {

/// A host name or numeric address as it stands in a URL or a Host header: IPv6 in brackets.
/// Source: RFC 3986, section 3.2.2.
inline std::string UrlHost(const std::string& host) {
  return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

}  // namespace probe
