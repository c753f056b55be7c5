#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace probe {

/// A GET or HEAD request that has passed the access rules.
struct HttpRequest {
  std::string path;                              ///< As it came, without the query: nothing is decoded or folded.
  std::map<std::string, std::string> arguments;  ///< Of the query, decoded; of a name that comes twice, the last.
  bool accepts_gzip = false;
  std::string if_none_match{};  ///< The ETags of what the client has, as it came.
  std::string accept{};         ///< The header as it came; empty: there was none.
  std::string holder{};         ///< Whose token it has shown, as `TokenHolders` has it; means nothing for `kPublic`.
};

/// What a client may do with an answer that it has.
enum class Caching {
  kNoStore,     ///< Nothing: the next one will be another.
  kRevalidate,  ///< Keep it, and ask with its ETag whether it still holds.
  kForever      ///< Keep it: what this path names never changes.
};

/// An answer to a request.
struct HttpAnswer {
  unsigned status = 200;  ///< RFC 9110, section 15.
  std::string content_type = "application/json";
  std::shared_ptr<const std::string> body = std::make_shared<const std::string>();
  Caching caching = Caching::kNoStore;
  std::string etag;            ///< In its quotes; empty: none. RFC 9110, section 8.8.3.
  bool is_gzip = false;        ///< The body is compressed.
  bool opens_session = false;  ///< The client gets the cookie that stands for the token.
  unsigned retry_after = 0;    ///< Seconds after which the client may try again; 0: nobody knows. RFC 9110, 10.2.3.
  std::vector<std::pair<std::string, std::string>> headers{};  ///< Others, names in lower case; pages may read them.
};

/// Who may ask for a path.
enum class Access {
  kNotFound,  ///< Nobody: there is nothing.
  kPublic,    ///< Everybody whom Host and Origin let in: it holds no secret.
  kToken      ///< Those with the token only.
};

/// What the server serves over plain HTTP. All of it is read with GET or HEAD.
struct HttpService {
  /// Looks a path up. Threads: the server's event loop; must be quick.
  std::function<Access(const std::string& path)> look_up;

  /// Answers a request that may be answered. Threads: one of the server's workers, several at once. May take its time.
  std::function<HttpAnswer(const HttpRequest& request)> answer;

  /// What stands before the topics of the websocket at a path, for this holder of a token; nothing: there is none for
  /// it. Empty: there is one at "/", with nothing before its topics. Foreign pages, which log in by a message, get none
  /// where it depends on the holder. Threads: as for `look_up`.
  std::function<std::optional<std::string>(const std::string& path, const std::string& holder)> topics_at{};

  /// Requests that are answered at once. Two, so that one report that waits does not hold up the page.
  std::size_t workers = 2;
};

/// An answer that is an error, as docs/schemas/problem.json describes it.
///
/// `code` is for programs, `message` for people; neither may hold anything that the client sent.
/// Source: RFC 9457.
HttpAnswer ErrorAnswer(unsigned status, const std::string& code, const std::string& message);

/// The code that stands for a status that has no more to tell: "not_found".
std::string CodeOfStatus(unsigned status);

/// An ETag for a body: equal for equal bodies, and hardly ever for different ones.
std::string EtagOf(const std::string& body);

/// The elements of a comma-separated header, without the blanks around them. Source: RFC 9110, section 5.6.1.
std::vector<std::string_view> ListElements(std::string_view list);

/// Whether a client takes a body that is compressed by gzip, by its Accept-Encoding, and doesn't prefer a plain one.
/// Source: RFC 9110, section 12.5.3.
bool AcceptsGzip(std::string_view accept_encoding);

/// Compresses an answer that is a large JSON text, for a client that takes it.
void Compress(const HttpRequest& request, HttpAnswer& answer);

/// The least octets of a body that is compressed: below, it fits into one segment of TCP anyway.
inline constexpr std::size_t kMinGzipBytes = 1'400;

/// Whether a client's If-None-Match names this ETag. Source: RFC 9110, section 13.1.2 (weak comparison).
bool NamesEtag(const std::string& if_none_match, const std::string& etag);

}  // namespace probe
