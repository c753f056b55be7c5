#include "probe/server/http/http_head.h"

#include <algorithm>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

#include "probe/server/http/http_message.h"
#include "probe/text/secret.h"

namespace probe {
namespace {

namespace http = boost::beast::http;
using Fields = http::request<http::empty_body>;

constexpr char kEnd[] = "\r\n\r\n";

std::string Text(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

/// All values of a header, joined by commas; nothing when there is none.
template <typename Name>
std::optional<std::string> Header(const Fields& fields, Name name) {
  const auto [begin, end] = fields.equal_range(name);
  if (begin == end) return std::nullopt;
  std::string joined = Text(begin->value());
  for (auto next = std::next(begin); next != end; ++next) joined += "," + Text(next->value());
  return joined;
}

/// Percent-decodes. Nothing for what is no encoding, or of a NUL. Source: RFC 3986, section 2.1.
std::optional<std::string> Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned octet = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), octet, 16);
    if (digits.size() != 2 || error != std::errc() || end != digits.data() + 2 || octet == 0) return std::nullopt;
    decoded += static_cast<char>(octet);
    i += 2;
  }
  return decoded;
}

/// Reads a query, "a=1&b". False when it is badly encoded.
bool ReadQuery(std::string_view query, std::map<std::string, std::string>& arguments) {
  while (!query.empty()) {
    const std::string_view argument = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(argument.size() + 1, query.size()));
    const std::size_t equals = std::min(argument.find('='), argument.size());
    const auto name = Decoded(argument.substr(0, equals));
    const auto value = Decoded(argument.substr(std::min(equals + 1, argument.size())));
    if (!name || !value) return false;
    if (!argument.empty()) arguments[*name] = *value;
  }
  return true;
}

/// Reads a request target into path and arguments. False when it is none.
///
/// In the absolute form the authority has to be that of the Host header, so that one rule decides about both.
/// Source: RFC 9112, section 3.2.
bool ReadTarget(std::string_view target, RequestHead& head) {
  if (!std::all_of(target.begin(), target.end(), [](char octet) { return octet > ' ' && octet < '\x7f'; }))
    return false;
  if (target == "*") {
    head.path = target;
    return head.method == "OPTIONS";
  }
  if (head.method == "CONNECT") {
    head.path = target;
    return true;
  }
  if (!target.starts_with('/')) {
    const std::string lower = LowerCase(std::string(target));
    const std::size_t scheme = lower.starts_with("http://") ? 7 : (lower.starts_with("https://") ? 8 : 0);
    const std::size_t authority_end = std::min(lower.find_first_of("/?", scheme), lower.size());
    if (scheme == 0 || lower.substr(scheme, authority_end - scheme) != LowerCase(head.host.value_or(""))) return false;
    target.remove_prefix(authority_end);
  }
  const std::size_t path_end = std::min(target.find('?'), target.size());
  head.path = path_end == 0 ? "/" : target.substr(0, path_end);
  return target.find('#') == std::string_view::npos &&
         ReadQuery(target.substr(std::min(path_end + 1, target.size())), head.arguments);
}

RequestHead HeadOf(const Fields& fields) {
  RequestHead head;
  head.method = Text(fields.method_string());
  head.is_http_1_0 = fields.version() == 10;
  head.has_body = Header(fields, http::field::transfer_encoding).has_value() ||
                  Header(fields, http::field::content_length).value_or("0") != "0";
  head.host = Header(fields, http::field::host);
  head.has_two_hosts = fields.count(http::field::host) > 1;
  head.origin = Header(fields, http::field::origin);
  // in HTTP/1.0 an upgrade is to be ignored: RFC 9110, section 7.8
  if (!head.is_http_1_0) head.upgrade = Header(fields, http::field::upgrade).value_or("");
  head.connection = Header(fields, http::field::connection).value_or("");
  head.websocket_key = Header(fields, http::field::sec_websocket_key).value_or("");
  head.websocket_version = Header(fields, http::field::sec_websocket_version).value_or("");
  head.websocket_protocol = Header(fields, http::field::sec_websocket_protocol).value_or("");
  head.authorization = Header(fields, http::field::authorization).value_or("");
  head.cookie = Header(fields, http::field::cookie).value_or("");
  head.if_none_match = Header(fields, http::field::if_none_match).value_or("");
  head.accept = Header(fields, http::field::accept).value_or("");
  head.accept_encoding = Header(fields, http::field::accept_encoding).value_or("");
  head.forwarded_for = Header(fields, "X-Forwarded-For").value_or("");
  head.fetch_site = Header(fields, "Sec-Fetch-Site").value_or("");
  return head;
}

/// Whether a request line ends with some version of HTTP. Source: RFC 9112, section 2.3.
bool EndsWithVersion(std::string_view line) {
  const std::string_view version = line.substr(std::min(line.rfind(' '), line.size()));
  const auto is_digit = [](char octet) { return octet >= '0' && octet <= '9'; };
  return version.size() == 9 && version.starts_with(" HTTP/") && is_digit(version[6]) && version[7] == '.' &&
         is_digit(version[8]);
}

/// Whether an octet may be part of a method, with which every request begins. Source: RFC 9110, section 5.6.2.
bool IsTokenOctet(char octet) {
  static constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return std::isalnum(static_cast<unsigned char>(octet)) != 0 || kMarks.find(octet) != std::string_view::npos;
}

}  // namespace

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
  return text;
}

bool HoldsWord(const std::string& list, const std::string& word) {
  const std::string lower = LowerCase(list);
  const auto elements = ListElements(lower);
  return std::find(elements.begin(), elements.end(), word) != elements.end();
}

std::string_view RequestHead::Cookie(std::string_view name) const {
  std::string_view rest = cookie;
  while (!rest.empty()) {
    std::string_view pair = rest.substr(0, rest.find(';'));
    rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
    pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
    if (pair.starts_with(name) && pair.substr(name.size()).starts_with('=')) return pair.substr(name.size() + 1);
  }
  return {};
}

bool RequestHead::is_persistent() const {
  return is_http_1_0 ? HoldsWord(connection, "keep-alive") : !HoldsWord(connection, "close");
}

HeadReader::State HeadReader::Fail(unsigned status, const char* text) {
  error_ = HttpError{status, text};
  return State::kInvalid;
}

HeadReader::State HeadReader::Add(std::string_view octets) {
  octets_ += octets;
  return state();
}

HeadReader::State HeadReader::state() {
  if (error_.status != 0) return State::kInvalid;
  if (length_ != 0) return State::kComplete;
  // Empty lines before a request are to be ignored: RFC 9112, section 2.2.
  while (examined_ == 0 && octets_.starts_with("\r\n")) octets_.erase(0, 2);
  if (octets_ == "\r") return State::kIncomplete;  // half of such a line: it must not be counted as part of the head
  if (examined_ == 0 && !octets_.empty() && !IsTokenOctet(octets_.front()))
    return Fail(400, "Refused: this is no HTTP request.");
  const std::size_t limit = std::min(octets_.size(), kMaxBytes);
  for (; examined_ < limit; ++examined_) {
    const char octet = octets_[examined_];
    const char before = examined_ == 0 ? '\0' : octets_[examined_ - 1];
    if (octet == '\0' || (before == '\r') != (octet == '\n'))
      return Fail(400, "Refused: the request has a NUL, or a line that does not end with CR LF.");
    if (before == '\n' && (octet == ' ' || octet == '\t'))
      return Fail(400, "Refused: the request has a folded header line.");
    if (octet == '\n' && std::string_view(octets_).substr(0, examined_ + 1).ends_with(kEnd)) {
      length_ = ++examined_;
      return State::kComplete;
    }
  }
  if (examined_ < kMaxBytes) return State::kIncomplete;
  if (octets_.find('\n') >= kMaxBytes) return Fail(414, "Refused: the request target is too long.");
  return Fail(431, "Refused: the head of the request is larger than 8192 octets.");
}

std::optional<RequestHead> HeadReader::Take() {
  http::request_parser<http::empty_body> parser;
  parser.header_limit(kMaxBytes + 1);
  parser.body_limit(std::numeric_limits<std::uint64_t>::max());  // no body is ever read; none would be taken for 0
  boost::system::error_code error;
  parser.put(boost::asio::buffer(octets_.data(), length_), error);
  const bool has_version = EndsWithVersion(std::string_view(octets_).substr(0, octets_.find('\r')));
  octets_.erase(0, std::exchange(length_, 0));
  examined_ = 0;
  if (error == http::error::bad_version && has_version) {
    Fail(505, "Refused: the probe speaks HTTP/1.1.");
    return std::nullopt;
  }
  if (error) {
    Fail(400, "Refused: the request breaks the rules of HTTP (RFC 9112).");
    return std::nullopt;
  }
  RequestHead head = HeadOf(parser.get());
  const auto target = parser.get().target();
  if (ReadTarget({target.data(), target.size()}, head)) return head;
  Fail(400, "Refused: the request target is no path.");
  return std::nullopt;
}

void HeadReader::WipeTaken() {
  std::string unread = octets_;
  Wipe(octets_);
  octets_ = std::move(unread);
}

std::string HeadReader::TakeRest() {
  examined_ = 0;
  length_ = 0;
  return std::exchange(octets_, std::string());
}

}  // namespace probe
