#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace probe {

/// The head of an HTTP request: what the server looks at before it does anything with the request.
///
/// A header that comes more than once stands here joined by commas.
struct RequestHead {
  std::string method;
  std::string path;                              ///< As it came, without the query: nothing is decoded or folded.
  std::map<std::string, std::string> arguments;  ///< Of the query, decoded; of a name that comes twice, the last.
  bool is_http_1_0 = false;
  bool has_body = false;
  std::optional<std::string> host;    ///< Nothing: no such header.
  bool has_two_hosts = false;         ///< There is more than one such header.
  std::optional<std::string> origin;  ///< Likewise.
  std::string upgrade;                ///< Empty: a plain request.
  std::string connection;
  std::string websocket_key;
  std::string websocket_version;
  std::string websocket_protocol;
  std::string authorization;
  std::string cookie;
  std::string if_none_match;
  std::string accept;
  std::string accept_encoding;
  std::string forwarded_for;  ///< X-Forwarded-For: for whom a proxy says that it asks.
  std::string fetch_site;     ///< Sec-Fetch-Site: by which browsers tell where a request comes from.
  std::string local_address;  ///< The address of ours at which the request came in.

  bool is_get() const { return method == "GET"; }
  bool is_head() const { return method == "HEAD"; }

  /// The value of a cookie; empty: there is none. Source: RFC 6265, section 4.2.1.
  std::string_view Cookie(std::string_view name) const;

  /// Whether the client wants the connection to last beyond this request. Source: RFC 9112, section 9.3.
  bool is_persistent() const;
};

/// An answer that refuses a request.
struct HttpError {
  unsigned status = 0;       ///< RFC 9110, section 15.
  std::string text;          ///< Body of the answer, and the log's; holds nothing that the client sent.
  unsigned retry_after = 0;  ///< Seconds after which the client may try again; 0: nobody knows.
};

/// Whether `list`, a header of comma-separated words, holds `word`, which is in lower case.
bool HoldsWord(const std::string& list, const std::string& word);

/// ASCII letters in lower case, all else as it is.
std::string LowerCase(std::string text);

/// Reads the heads of the requests on one connection, however the octets are cut into pieces.
///
/// It is stricter than HTTP has to be: no line ends but CR LF, no folded lines, no NUL.
/// Threads: none of its own, no lock.
class HeadReader {
 public:
  /// Octets of one head, request line included.
  static constexpr std::size_t kMaxBytes = 8192;

  enum class State {
    kIncomplete,  ///< More is to come.
    kComplete,    ///< A head is there: `Take` it.
    kInvalid      ///< `error` says why; nothing more can be read.
  };

  /// Takes octets in. They may go beyond the head.
  State Add(std::string_view octets);

  /// Whether a part of a head is there.
  bool has_begun() const { return !octets_.empty(); }

  /// The complete head, once. Nothing: it cannot be read, and `error` says why.
  std::optional<RequestHead> Take();

  /// The state of the head that follows those that were taken.
  State state();

  /// The octets that came after the heads that were taken, once.
  std::string TakeRest();

  /// Overwrites what has been read and taken, which may have held a secret.
  void WipeTaken();

  const HttpError& error() const { return error_; }

 private:
  State Fail(unsigned status, const char* text);

  std::string octets_;
  std::size_t examined_ = 0;  // octets that have been found to be without fault
  std::size_t length_ = 0;    // of the head; 0: it is not complete
  HttpError error_;
};

}  // namespace probe
