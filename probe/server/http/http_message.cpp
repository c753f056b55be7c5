#include "probe/server/http/http_message.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "probe/text/fnv1a.h"
#include "probe/text/json_text.h"

namespace probe {

std::string CodeOfStatus(unsigned status) {
  static const std::map<unsigned, std::string> codes{
      {400, "bad_request"},        {401, "unauthorized"}, {403, "forbidden"},   {404, "not_found"},
      {405, "method_not_allowed"}, {408, "timeout"},      {421, "misdirected"}, {429, "too_many_requests"},
      {501, "not_implemented"},    {503, "unavailable"}};
  const auto code = codes.find(status);
  return code == codes.end() ? "error" : code->second;
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

std::vector<std::string_view> ListElements(std::string_view list) {
  std::vector<std::string_view> elements;
  while (!list.empty()) {
    std::string_view element = list.substr(0, list.find(','));
    list.remove_prefix(std::min(element.size() + 1, list.size()));
    element.remove_prefix(std::min(element.find_first_not_of(" \t"), element.size()));
    element.remove_suffix(element.size() - (element.find_last_not_of(" \t") + 1));
    elements.push_back(element);
  }
  return elements;
}

bool NamesEtag(const std::string& if_none_match, const std::string& etag) {
  const auto elements = ListElements(if_none_match);
  return !etag.empty() && std::any_of(elements.begin(), elements.end(),
                                      [&](auto tag) { return tag == "*" || tag == etag || tag == "W/" + etag; });
}

}  // namespace probe
