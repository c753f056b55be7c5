#include "probe/server/http/http_message.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <boost/beast/http/status.hpp>
#include <cctype>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "probe/server/http/http_head.h"
#include "probe/text/fnv1a.h"
#include "probe/text/json_text.h"

namespace probe {
namespace {

/// Where the types of problems are described.
const std::string kProblemTypes = "/api/v1/schemas/problem.json#/definitions/";

constexpr int kFullWeight = 1000;

/// The weight of an element of Accept-Encoding, in thousandths. Source: RFC 9110, section 12.4.2.
int WeightOf(std::string_view parameters) {
  const std::size_t begin = parameters.find_first_of("qQ");
  if (begin == std::string_view::npos) return kFullWeight;
  std::string_view value = parameters.substr(begin + 1);
  value.remove_prefix(std::min(value.find_first_not_of("= \t"), value.size()));
  if (value.empty() || value.front() != '0') return kFullWeight;
  int weight = 0;
  int place = kFullWeight / 10;
  for (std::size_t at = 2; at < value.size() && place > 0 && value[at] >= '0' && value[at] <= '9'; ++at, place /= 10)
    weight += (value[at] - '0') * place;
  return weight;
}

/// A gzip file of one member. Source: RFC 1952.
std::string Gzip(const std::string& text) {
  constexpr int kLevel = 4;  // larger ones take twice the time for a tenth
  constexpr int kGzipWindow = MAX_WBITS + 16;
  constexpr int kMemory = 8;
  z_stream stream{};
  if (deflateInit2(&stream, kLevel, Z_DEFLATED, kGzipWindow, kMemory, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> guard(&stream, deflateEnd);
  std::string compressed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  // zlib reads from a pointer to octets that are not constant, and leaves them alone.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_out = static_cast<uInt>(compressed.size());
  // It ends at once, for there is room for the worst.
  if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("a text could not be compressed");
  compressed.resize(stream.total_out);
  return compressed;
}

}  // namespace

std::string CodeOfStatus(unsigned status) {
  static const std::map<unsigned, std::string> codes{
      {400, "bad_request"},       {401, "unauthorized"},       {403, "forbidden"},
      {404, "not_found"},         {405, "method_not_allowed"}, {408, "timeout"},
      {414, "uri_too_long"},      {421, "misdirected"},        {426, "upgrade_required"},
      {429, "too_many_requests"}, {431, "header_too_large"},   {500, "internal_error"},
      {501, "not_implemented"},   {503, "unavailable"},        {505, "version_not_supported"}};
  const auto code = codes.find(status);
  return code == codes.end() ? "error" : code->second;
}

HttpAnswer ErrorAnswer(unsigned status, const std::string& code, const std::string& message) {
  // A problem that is no more than its status has no type of its own, and the status' phrase as its title.
  const bool is_plain = code == CodeOfStatus(status);
  const auto phrase = boost::beast::http::obsolete_reason(boost::beast::http::int_to_status(status));
  std::string title(phrase.data(), phrase.size());
  if (!is_plain) {
    title = code;
    std::replace(title.begin(), title.end(), '_', ' ');
    title.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(title.front())));
  }
  HttpAnswer answer;
  answer.status = status;
  answer.content_type = "application/problem+json";
  answer.body = std::make_shared<const std::string>(
      Dump(nlohmann::ordered_json{{"type", is_plain ? "about:blank" : kProblemTypes + code},
                                  {"title", title},
                                  {"status", status},
                                  {"detail", message},
                                  {"error", {{"code", code}, {"message", message}}}}) +
      "\n");
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

bool AcceptsGzip(std::string_view accept_encoding) {
  std::optional<int> gzip;
  std::optional<int> identity;
  std::optional<int> any;
  for (const std::string_view element : ListElements(accept_encoding)) {
    const std::size_t end = element.find_first_of("; \t");
    const std::string coding = LowerCase(std::string(element.substr(0, end)));
    const int weight = end == std::string_view::npos ? kFullWeight : WeightOf(element.substr(end));
    if (coding == "gzip" || coding == "x-gzip") gzip = weight;
    if (coding == "identity") identity = weight;
    if (coding == "*") any = weight;
  }
  const int wanted = gzip.value_or(any.value_or(0));
  return wanted > 0 && wanted >= identity.value_or(0);
}

void Compress(const HttpRequest& request, HttpAnswer& answer) {
  if (!request.accepts_gzip || answer.is_gzip || answer.content_type.find("json") == std::string::npos ||
      answer.body->size() < kMinGzipBytes)
    return;
  if (answer.body->size() > std::numeric_limits<uInt>::max()) return;
  // Another encoding is another representation, and must not share its strong ETag. RFC 9110, section 8.8.3.3
  if (!answer.etag.empty()) answer.etag.insert(answer.etag.size() - 1, "-gzip");
  answer.is_gzip = true;
  if (NamesEtag(request.if_none_match, answer.etag)) return;  // the body is not sent
  answer.body = std::make_shared<const std::string>(Gzip(*answer.body));
}

bool NamesEtag(const std::string& if_none_match, const std::string& etag) {
  const auto elements = ListElements(if_none_match);
  return !etag.empty() && std::any_of(elements.begin(), elements.end(),
                                      [&](auto tag) { return tag == "*" || tag == etag || tag == "W/" + etag; });
}

}  // namespace probe
