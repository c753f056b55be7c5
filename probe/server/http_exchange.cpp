#include "probe/server/http_exchange.h"

#include <libwebsockets.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "probe/server/ip_address.h"

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

std::string TokenArgument(lws* socket) {
  static constexpr std::string_view kName = "token=";
  std::array<char, kHeaderBytes> octets{};
  for (int i = 0;; ++i) {
    const int size = static_cast<int>(octets.size());
    const int length = lws_hdr_copy_fragment(socket, octets.data(), size, WSI_TOKEN_HTTP_URI_ARGS, i);
    if (length < 0) return {};
    const std::string_view argument(octets.data(), static_cast<std::size_t>(length));
    if (argument.starts_with(kName)) return std::string(argument.substr(kName.size()));
  }
}

std::string Path(lws* socket) {
  char* path = nullptr;
  int length = 0;
  if (lws_http_get_uri_and_method(socket, &path, &length) < 0 || path == nullptr) return {};
  return {path, static_cast<std::size_t>(length)};
}

/// Writes the head of an answer; false when there is no room for it.
bool WriteHead(lws* socket, const Refusal& answer, unsigned char** place, unsigned char* end) {
  static constexpr char kClose[] = "close";
  static constexpr char kWebsocket[] = "websocket";
  static constexpr char kVersion[] = "13";
  static constexpr char kBearer[] = "Bearer";
  const auto add = [&](lws_token_indexes token, const char* value, std::size_t length) {
    const auto* octets = reinterpret_cast<const unsigned char*>(value);
    return lws_add_http_header_by_token(socket, token, octets, static_cast<int>(length), place, end) == 0;
  };
  if (lws_add_http_common_headers(socket, answer.status, "text/plain; charset=utf-8", answer.text.size() + 1, place,
                                  end) != 0)
    return false;
  if (!add(WSI_TOKEN_CONNECTION, kClose, sizeof kClose - 1)) return false;
  if (answer.status == 426 && !(add(WSI_TOKEN_UPGRADE, kWebsocket, sizeof kWebsocket - 1) &&
                                add(WSI_TOKEN_VERSION, kVersion, sizeof kVersion - 1)))
    return false;
  if (answer.status == 401 && !add(WSI_TOKEN_HTTP_WWW_AUTHENTICATE, kBearer, sizeof kBearer - 1)) return false;
  return lws_finalize_http_header(socket, place, end) == 0;
}

}  // namespace

RequestHead ReadRequestHead(lws* socket) {
  RequestHead head;
  head.is_get = lws_hdr_total_length(socket, WSI_TOKEN_GET_URI) > 0;
  head.path = Path(socket);
  head.host = Header(socket, WSI_TOKEN_HOST);
  head.origin = Header(socket, WSI_TOKEN_ORIGIN);
  head.upgrade = Header(socket, WSI_TOKEN_UPGRADE).value_or("");
  head.connection = Header(socket, WSI_TOKEN_CONNECTION).value_or("");
  head.websocket_version = Header(socket, WSI_TOKEN_VERSION).value_or("");
  head.authorization = Header(socket, WSI_TOKEN_HTTP_AUTHORIZATION).value_or("");
  head.token_argument = TokenArgument(socket);
  head.local_address = LocalAddress(lws_get_socket_fd(socket));
  return head;
}

void AnswerWithText(lws* socket, const Refusal& answer) {
  std::array<unsigned char, LWS_PRE + kAnswerBytes> octets{};
  unsigned char* const begin = octets.data() + LWS_PRE;
  unsigned char* const end = octets.data() + octets.size();
  unsigned char* place = begin;
  if (!WriteHead(socket, answer, &place, end)) return;
  const std::string body = answer.text + "\n";
  if (body.size() > static_cast<std::size_t>(end - place)) return;
  place = std::copy(body.begin(), body.end(), place);
  // Should the client be gone already, there is nobody left to tell.
  lws_write(socket, begin, static_cast<std::size_t>(place - begin), LWS_WRITE_HTTP_FINAL);
}

}  // namespace probe
