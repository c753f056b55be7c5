#include "probe/server/http/http_message.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "probe/text/fnv1a.h"
#include "probe/text/json_text.h"

namespace probe {

std::string CodeOfStatus(unsigned status) {
  switch (status) {
    case 400:
      return "bad_request";
    case 401:
      return "unauthorized";
    case 403:
      return "forbidden";
    case 404:
      return "not_found";
    case 405:
      return "method_not_allowed";
    case 408:
      return "timeout";
    case 429:
      return "too_many_requests";
    case 501:
      return "not_implemented";
    case 503:
      return "unavailable";
    default:
      return "error";
  }
}

HttpAnswer ErrorAnswer(unsigned status, const std::string& code, const std::string& message) {
  HttpAnswer answer;
  answer.status = status;
  answer.body = std::make_shared<const std::string>(ErrorText(code, message) + "\n");
  return answer;
}

std::string EtagOf(const std::string& body) {
  // No cryptographic hash is needed: both bodies are the probe's own, so nobody gains from a collision.
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "\"%zx-%016llx\"", body.size(), static_cast<unsigned long long>(Fnv1a(body)));
  return text.data();
}

bool NamesEtag(const std::string& if_none_match, const std::string& etag) {
  if (etag.empty()) return false;
  std::size_t begin = 0;
  while (begin < if_none_match.size()) {
    const std::size_t end = std::min(if_none_match.find(',', begin), if_none_match.size());
    std::string tag = if_none_match.substr(begin, end - begin);
    tag.erase(0, tag.find_first_not_of(" \t"));
    tag.erase(tag.find_last_not_of(" \t") + 1);
    if (tag == "*" || tag == etag || tag == "W/" + etag) return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace probe
