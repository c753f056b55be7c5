#include "probe/server/http/answer_head.h"

#include <boost/beast/http/status.hpp>
#include <string_view>

namespace probe {
namespace {

// What every answer says about how a browser may use it.
constexpr char kSecurityHeaders[] =
    "content-security-policy: default-src 'none'; img-src 'self' data: ; script-src 'self'; font-src 'self'; "
    "style-src 'self'; connect-src 'self'; frame-ancestors 'none'; base-uri 'none';form-action 'self';\r\n"
    "x-content-type-options: nosniff\r\n"
    "x-xss-protection: 1; mode=block\r\n"
    "x-frame-options: deny\r\n"
    "referrer-policy: no-referrer\r\n"
    "server: vexora-probe\r\n";

/// A head that is being written.
class HeadWriter {
 public:
  HeadWriter(const RequestHead& request, unsigned status) : head_(request.is_http_1_0 ? "HTTP/1.0 " : "HTTP/1.1 ") {
    const auto reason = boost::beast::http::obsolete_reason(boost::beast::http::int_to_status(status));
    head_.append(std::to_string(status)).append(" ").append(reason.data(), reason.size()).append("\r\n");
    head_ += kSecurityHeaders;
  }

  HeadWriter& Add(std::string_view name, std::string_view value) {
    head_.append(name).append(": ").append(value).append("\r\n");
    return *this;
  }

  std::string Finish() { return std::move(head_.append("\r\n")); }

 private:
  std::string head_;
};

const char* CacheControl(Caching caching) {
  switch (caching) {
    case Caching::kForever:
      return "public, max-age=31536000, immutable";
    case Caching::kRevalidate:
      return "no-cache";
    case Caching::kNoStore:
      break;
  }
  return "no-store";
}

/// The headers that a foreign page may read, beside those that it always may.
std::string ReadableHeaders(const HttpAnswer& answer) {
  std::string names = "etag";
  for (const auto& header : answer.headers) names += ", " + header.first;
  return names;
}

}  // namespace

std::string AnswerHead(const RequestHead& request, const HttpAnswer& answer, bool is_not_modified,
                       const std::string& origin, const std::string& cookie) {
  HeadWriter head(request, is_not_modified ? 304 : answer.status);
  head.Add("cache-control", CacheControl(answer.caching)).Add("vary", "Origin, Accept-Encoding");
  head.Add("cross-origin-resource-policy", "same-origin");
  for (const auto& [name, value] : answer.headers) head.Add(name, value);
  if (!answer.etag.empty()) head.Add("etag", answer.etag);
  if (!cookie.empty()) head.Add("set-cookie", cookie);
  if (!origin.empty())
    head.Add("access-control-allow-origin", origin).Add("access-control-expose-headers", ReadableHeaders(answer));
  if (answer.retry_after != 0) head.Add("retry-after", std::to_string(answer.retry_after));
  if (!is_not_modified) {
    head.Add("content-type", answer.content_type).Add("content-length", std::to_string(answer.body->size()));
    if (answer.is_gzip) head.Add("content-encoding", "gzip");
  }
  if (!request.is_persistent()) head.Add("connection", "close");
  if (request.is_persistent() && request.is_http_1_0) head.Add("connection", "keep-alive");  // RFC 9112, section 9.3
  return head.Finish();
}

std::string RefusalHead(const RequestHead& request, const HttpError& error, const HttpAnswer& answer) {
  const unsigned status = error.status;
  HeadWriter head(request, status);
  head.Add("content-type", answer.content_type).Add("cache-control", "no-store");
  // who sends Upgrade has to name it in Connection, too: RFC 9110, section 7.8
  head.Add("connection", status == 426 ? "close, upgrade" : "close");
  head.Add("content-length", std::to_string(answer.body->size()));
  if (status == 426) head.Add("upgrade", "websocket").Add("sec-websocket-version", "13");
  if (status == 401) head.Add("www-authenticate", "Bearer");
  if (status == 405) head.Add("allow", "GET, HEAD");
  if (error.retry_after != 0) head.Add("retry-after", std::to_string(error.retry_after));
  return head.Finish();
}

}  // namespace probe
