#include "probe/server/http/http_head.h"

#include <libwebsockets.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

constexpr std::size_t kHeaderBytes = 1024;
constexpr std::size_t kAnswerBytes = 2048;

/// A header's value; nothing when the request has none. One that is too long comes back as a text that no rule lets
/// pass.
std::optional<std::string> Header(lws* socket, lws_token_indexes token) {
  if (lws_hdr_total_length(socket, token) == 0) return std::nullopt;
  std::array<char, kHeaderBytes> value{};
  const int length = lws_hdr_copy(socket, value.data(), static_cast<int>(value.size()), token);
  return length < 0 ? std::string("(too long)") : std::string(value.data(), static_cast<std::size_t>(length));
}

/// A header that the library has no number for; `name` in lower case and with its colon.
std::string CustomHeader(lws* socket, std::string_view name) {
  std::array<char, kHeaderBytes> value{};
  const int length = lws_hdr_custom_copy(socket, value.data(), static_cast<int>(value.size()), name.data(),
                                         static_cast<int>(name.size()));
  return length < 0 ? std::string() : std::string(value.data(), static_cast<std::size_t>(length));
}

std::string Path(lws* socket) {
  char* path = nullptr;
  int length = 0;
  if (lws_http_get_uri_and_method(socket, &path, &length) < 0 || path == nullptr) return {};
  return {path, static_cast<std::size_t>(length)};
}

/// The head of an answer that is being written; every step is skipped once there is no room.
class HeadWriter {
 public:
  explicit HeadWriter(lws* socket, unsigned status) : socket_(socket) {
    is_good_ = lws_add_http_header_status(socket_, status, &place_, end()) == 0;
  }

  HeadWriter& Add(lws_token_indexes token, std::string_view value) {
    is_good_ = is_good_ && lws_add_http_header_by_token(socket_, token, Octets(value), static_cast<int>(value.size()),
                                                        &place_, end()) == 0;
    return *this;
  }

  HeadWriter& Add(const char* name_with_colon, std::string_view value) {
    const auto* name = reinterpret_cast<const unsigned char*>(name_with_colon);
    is_good_ = is_good_ && lws_add_http_header_by_name(socket_, name, Octets(value), static_cast<int>(value.size()),
                                                       &place_, end()) == 0;
    return *this;
  }

  HeadWriter& AddLength(std::size_t length) {
    is_good_ = is_good_ && lws_add_http_header_content_length(socket_, length, &place_, end()) == 0;
    return *this;
  }

  /// Writes the head, and a short body with it. False when there is no room, or nobody left to tell.
  bool Finish(std::string_view body, lws_write_protocol how) {
    if (!is_good_ || lws_finalize_http_header(socket_, &place_, end()) != 0) return false;
    if (body.size() > static_cast<std::size_t>(end() - place_)) return false;
    place_ = std::copy(body.begin(), body.end(), place_);
    return lws_write(socket_, begin(), static_cast<std::size_t>(place_ - begin()), how) >= 0;
  }

 private:
  static const unsigned char* Octets(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
  }
  unsigned char* begin() { return octets_.data() + LWS_PRE; }
  unsigned char* end() { return octets_.data() + octets_.size(); }

  lws* socket_;
  std::array<unsigned char, LWS_PRE + kAnswerBytes> octets_{};
  unsigned char* place_ = begin();
  bool is_good_;
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

}  // namespace

RequestHead ReadRequestHead(lws* socket) {
  RequestHead head;
  head.is_get = lws_hdr_total_length(socket, WSI_TOKEN_GET_URI) > 0;
  head.is_head = lws_hdr_total_length(socket, WSI_TOKEN_HEAD_URI) > 0;
  head.has_body = lws_hdr_total_length(socket, WSI_TOKEN_HTTP_TRANSFER_ENCODING) > 0 ||
                  Header(socket, WSI_TOKEN_HTTP_CONTENT_LENGTH).value_or("0") != "0";
  head.path = Path(socket);
  head.host = Header(socket, WSI_TOKEN_HOST);
  head.origin = Header(socket, WSI_TOKEN_ORIGIN);
  head.upgrade = Header(socket, WSI_TOKEN_UPGRADE).value_or("");
  head.connection = Header(socket, WSI_TOKEN_CONNECTION).value_or("");
  head.websocket_version = Header(socket, WSI_TOKEN_VERSION).value_or("");
  head.authorization = Header(socket, WSI_TOKEN_HTTP_AUTHORIZATION).value_or("");
  head.token_argument = ReadArguments(socket)["token"];
  head.if_none_match = Header(socket, WSI_TOKEN_HTTP_IF_NONE_MATCH).value_or("");
  head.accept_encoding = Header(socket, WSI_TOKEN_HTTP_ACCEPT_ENCODING).value_or("");
  head.fetch_site = CustomHeader(socket, "sec-fetch-site:");
  head.local_address = LocalAddress(lws_get_socket_fd(socket));
  return head;
}

std::map<std::string, std::string> ReadArguments(lws* socket) {
  std::map<std::string, std::string> arguments;
  std::array<char, kHeaderBytes> octets{};
  for (int i = 0;; ++i) {
    const int size = static_cast<int>(octets.size());
    const int length = lws_hdr_copy_fragment(socket, octets.data(), size, WSI_TOKEN_HTTP_URI_ARGS, i);
    if (length < 0) return arguments;
    const std::string argument(octets.data(), static_cast<std::size_t>(length));
    const std::size_t equals = std::min(argument.find('='), argument.size());
    arguments[argument.substr(0, equals)] = argument.substr(std::min(equals + 1, argument.size()));
  }
}

void AnswerWithRefusal(lws* socket, const Refusal& refusal, bool is_json) {
  const std::string body =
      is_json ? *ErrorAnswer(refusal.status, CodeOfStatus(refusal.status), refusal.text).body : refusal.text + "\n";
  HeadWriter head(socket, refusal.status);
  head.Add(WSI_TOKEN_HTTP_CONTENT_TYPE, is_json ? "application/json" : "text/plain; charset=utf-8");
  head.Add(WSI_TOKEN_HTTP_CACHE_CONTROL, "no-store").Add(WSI_TOKEN_CONNECTION, "close").AddLength(body.size());
  if (refusal.status == 426) head.Add(WSI_TOKEN_UPGRADE, "websocket").Add(WSI_TOKEN_VERSION, "13");
  if (refusal.status == 401) head.Add(WSI_TOKEN_HTTP_WWW_AUTHENTICATE, "Bearer");
  if (refusal.status == 405) head.Add(WSI_TOKEN_HTTP_ALLOW, "GET, HEAD");
  if (refusal.status == 503) head.Add(WSI_TOKEN_HTTP_RETRY_AFTER, "1");
  head.Finish(body, LWS_WRITE_HTTP_FINAL);
}

bool WriteAnswerHead(lws* socket, const HttpAnswer& answer, bool is_not_modified, const std::string& origin) {
  HeadWriter head(socket, is_not_modified ? 304 : answer.status);
  head.Add(WSI_TOKEN_HTTP_CACHE_CONTROL, CacheControl(answer.caching));
  head.Add(WSI_TOKEN_HTTP_VARY, "Origin, Accept-Encoding");
  head.Add("cross-origin-resource-policy:", "same-origin");
  if (!answer.etag.empty()) head.Add(WSI_TOKEN_HTTP_ETAG, answer.etag);
  if (!origin.empty()) head.Add(WSI_TOKEN_HTTP_ACCESS_CONTROL_ALLOW_ORIGIN, origin);
  if (answer.status == 503) head.Add(WSI_TOKEN_HTTP_RETRY_AFTER, "1");
  if (!is_not_modified) {
    head.Add(WSI_TOKEN_HTTP_CONTENT_TYPE, answer.content_type).AddLength(answer.body->size());
    if (answer.is_gzip) head.Add(WSI_TOKEN_HTTP_CONTENT_ENCODING, "gzip");
  }
  return head.Finish("", LWS_WRITE_HTTP_HEADERS);
}

}  // namespace probe
