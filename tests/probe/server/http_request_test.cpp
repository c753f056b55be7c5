// Plain HTTP requests over real sockets: who may ask, what the answers look like, and what a worker that takes its
// time holds up.

#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <atomic>
#include <future>
#include <map>

#include "probe/server/http/http_message.h"
#include "probe/server/http/http_requests.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class HttpRequestTest : public test::Served {
 protected:
  HttpRequestTest() {
    http.look_up = [](const std::string& path) -> probe::Access {
      if (path == "/page") return probe::Access::kPublic;
      if (path.starts_with("/api/")) return probe::Access::kToken;
      return probe::Access::kNotFound;
    };
    http.answer = [this](const probe::HttpRequest& request) { return AnswerOf(request); };
  }

  /// The whole answer to a request with these further headers, over a connection of its own.
  std::string Get(const std::string& target, const std::string& headers = "", const std::string& method = "GET") {
    test::RawClient client(server->port());
    client.Send(Request(target, headers + "Connection: close\r\n", method));
    return client.ReadAll();
  }

  std::string Request(const std::string& target, const std::string& headers = "", const std::string& method = "GET") {
    return method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n" + headers +
           "\r\n";
  }

  /// Lets the requests for /api/slow go on.
  void LetGo() { limiter_.set_value(); }
  std::atomic<int> slow_requests{0};

 private:
  probe::HttpAnswer AnswerOf(const probe::HttpRequest& request) {
    probe::HttpAnswer answer;
    std::string body = request.path;
    for (const auto& [name, value] : request.arguments) body += " " + name + "=" + value;
    if (request.path == "/api/large") body.assign(3'000'000, 'x');
    if (request.path == "/api/huge") body.assign(64'000'000, 'x');
    if (request.path == "/api/tagged") {
      answer.caching = probe::Caching::kRevalidate;
      answer.etag = "\"tag\"";
    }
    if (request.path == "/api/headed") answer.headers = {{"vexora-time-zone", "Europe/Berlin"}};
    if (request.path.starts_with("/api/unavailable")) answer.status = 503;
    if (request.path == "/api/unavailable/shortly") answer.retry_after = 7;
    if (request.path == "/api/slow") {
      ++slow_requests;
      opened_.wait();
    }
    answer.opens_session = request.path == "/api/session";
    if (request.path == "/api/broken") throw std::runtime_error("broken");
    answer.body = std::make_shared<const std::string>(body);
    return answer;
  }

  std::promise<void> limiter_;
  std::shared_future<void> opened_ = limiter_.get_future().share();
};

TEST_F(HttpRequestTest, IsAnsweredWithItsDecodedArguments) {
  Serve();
  EXPECT_THAT(Get("/api/x?mac=AA%3A01&interface=5Ghz%20-%20Office&empty=&flag"),
              AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("content-type: application/json\r\n"),
                    HasSubstr("cache-control: no-store\r\n"),
                    EndsWith("\r\n\r\n/api/x empty= flag= interface=5Ghz - Office mac=AA:01")));
}

TEST_F(HttpRequestTest, LeavesTheConnectionOpenForTheNextOne) {
  Serve();
  test::RawClient client(server->port());
  client.Send(Request("/api/first"));
  EXPECT_THAT(client.ReadHead(), StartsWith("HTTP/1.1 200 "));
  ASSERT_TRUE(client.WaitForOctets(std::string("/api/first").size()));
  client.Send(Request("/api/last", "Connection: close\r\n"));
  EXPECT_THAT(client.ReadAll(), AllOf(StartsWith("/api/firstHTTP/1.1 200 "), EndsWith("/api/last")));
}

TEST_F(HttpRequestTest, OfHttp10IsToldWhetherTheConnectionStaysOpen) {
  Serve();
  const std::string request = "GET /api/x HTTP/1.0\r\nHost: 127.0.0.1:" + std::to_string(server->port()) + "\r\n";
  test::RawClient client(server->port());
  client.Send(request + "Connection: keep-alive\r\n\r\n");
  EXPECT_THAT(client.ReadHead(), AllOf(StartsWith("HTTP/1.0 200 "), HasSubstr("\r\nconnection: keep-alive\r\n")));
  client.Send(request + "\r\n");
  EXPECT_THAT(client.ReadAll(), AllOf(HasSubstr("\r\nconnection: close\r\n"), Not(HasSubstr("keep-alive"))));
  EXPECT_THAT(Get("/api/x"), Not(HasSubstr("keep-alive")));
}

TEST_F(HttpRequestTest, ToTheWebsocketIsToldToUpgrade) {
  Serve();
  EXPECT_THAT(Get("/"), AllOf(StartsWith("HTTP/1.1 426 "), HasSubstr("\r\nconnection: close, upgrade\r\n"),
                              HasSubstr("\r\nupgrade: websocket\r\n")));
  EXPECT_THAT(Get("/nothing"), AllOf(HasSubstr("\r\nconnection: close\r\n"), Not(HasSubstr("upgrade: "))));
}

TEST_F(HttpRequestTest, TellsOnlyTheHeadWhenNoMoreIsAskedFor) {
  Serve();
  EXPECT_THAT(Get("/api/large", "", "HEAD"), AllOf(HasSubstr("content-length: 3000000\r\n"), EndsWith("\r\n\r\n")));
}

TEST_F(HttpRequestTest, GetsALargeTextCompressedWhenItTakesThat) {
  Serve();
  const std::string taken = Get("/api/large", "Accept-Encoding: gzip, br;q=0.5\r\n");
  EXPECT_THAT(taken, AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("content-encoding: gzip\r\n"),
                           HasSubstr("vary: Origin, Accept-Encoding\r\n"), HasSubstr("\r\n\r\n\x1f\x8b")));
  EXPECT_LT(taken.size(), 100'000U);
  const std::string head = Get("/api/large", "Accept-Encoding: gzip\r\n", "HEAD");
  EXPECT_EQ(head, taken.substr(0, taken.find("\r\n\r\n") + 4)) << "as that of GET, and no more";
  EXPECT_THAT(Get("/api/large", "Accept-Encoding: gzip;q=0\r\n"), Not(HasSubstr("content-encoding")));
  EXPECT_THAT(Get("/api/x", "Accept-Encoding: gzip\r\n"),
              AllOf(Not(HasSubstr("content-encoding")), HasSubstr("vary: ")));
}

TEST_F(HttpRequestTest, IsToldWhichHeadersAForeignPageMayRead) {
  settings.allowed_origins = {"https://elsewhere.example"};
  Serve();
  EXPECT_THAT(Get("/api/headed", "Origin: https://elsewhere.example\r\n"),
              AllOf(HasSubstr("vexora-time-zone: Europe/Berlin\r\n"),
                    HasSubstr("access-control-expose-headers: etag, vexora-time-zone\r\n")));
  EXPECT_THAT(Get("/api/headed"), Not(HasSubstr("access-control")));
}

TEST_F(HttpRequestTest, IsNotSentAgainWhatTheClientHas) {
  Serve();
  EXPECT_THAT(Get("/api/tagged"), AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("etag: \"tag\"\r\n"),
                                        HasSubstr("cache-control: no-cache\r\n")));
  EXPECT_THAT(Get("/api/tagged", "If-None-Match: \"tag\"\r\n"),
              AllOf(StartsWith("HTTP/1.1 304 "), HasSubstr("etag: \"tag\"\r\n"), EndsWith("\r\n\r\n")));
  EXPECT_THAT(Get("/api/tagged", "If-None-Match: \"other\"\r\n"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpRequestTest, GetsAnAnswerThatIsLargerThanAnyBuffer) {
  Serve();
  EXPECT_THAT(Get("/api/large"), EndsWith("\r\n\r\n" + std::string(3'000'000, 'x')));
}

TEST_F(HttpRequestTest, IsRefusedWithAProblemThatProgramsCanRead) {
  Serve();
  EXPECT_THAT(Get("/api/x", "", "POST"),
              AllOf(StartsWith("HTTP/1.1 405 "), HasSubstr("allow: GET, HEAD\r\n"),
                    HasSubstr("content-type: application/problem+json\r\n"), HasSubstr("method_not_allowed")));
  EXPECT_THAT(Get("/page", "", "DELETE"), AllOf(StartsWith("HTTP/1.1 405 "), HasSubstr("application/problem+json")));
  EXPECT_THAT(Get("/api/x", "Content-Length: 3\r\n"), AllOf(StartsWith("HTTP/1.1 400 "), HasSubstr("bad_request")));
  EXPECT_THAT(Get("/api/x", "Transfer-Encoding: chunked\r\n"), StartsWith("HTTP/1.1 400 "));
  EXPECT_THAT(Get("/nothing"), StartsWith("HTTP/1.1 404 "));
  EXPECT_THAT(Get("/"), StartsWith("HTTP/1.1 426 "));
}

TEST_F(HttpRequestTest, NeedsTheTokenForAllButPages) {
  settings.token = "secret";
  Serve();
  EXPECT_THAT(Get("/page"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(Get("/api/x"), AllOf(StartsWith("HTTP/1.1 401 "), HasSubstr("www-authenticate: Bearer\r\n"),
                                   HasSubstr("\"unauthorized\""), Not(HasSubstr("secret"))));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer wrong\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer secret\r\n"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(Get("/api/x?token=secret"), StartsWith("HTTP/1.1 401 ")) << "URLs end up in histories and logs";
}

TEST_F(HttpRequestTest, OpensASessionForAPageThatShowsTheToken) {
  settings.token = "secret";
  Serve();
  EXPECT_THAT(Get("/api/session"), AllOf(StartsWith("HTTP/1.1 401 "), Not(HasSubstr("set-cookie"))));
  const std::string opened = Get("/api/session", "Authorization: Bearer secret\r\n");
  EXPECT_THAT(opened, AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("; HttpOnly; SameSite=Strict; Path=/\r\n"),
                            Not(HasSubstr("secret"))));
  const std::size_t begin = opened.find("set-cookie: ") + std::string("set-cookie: ").size();
  const std::string cookie = opened.substr(begin, opened.find(';', begin) - begin);
  EXPECT_THAT(cookie, StartsWith("vexora_session_" + std::to_string(server->port()) + "="));
  EXPECT_THAT(Get("/api/x", "Cookie: other=1; " + cookie + "\r\n"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(Get("/api/x", "Cookie: " + cookie + "0\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", "Cookie: " + cookie.substr(0, cookie.size() - 1) + "\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", "Sec-Fetch-Site: cross-site\r\nCookie: " + cookie + "\r\n"), StartsWith("HTTP/1.1 403 "));
  settings.token = "another";
  server.reset();
  Serve();
  const std::string value = cookie.substr(cookie.find('='));
  EXPECT_THAT(Get("/api/x", "Cookie: vexora_session_" + std::to_string(server->port()) + value + "\r\n"),
              StartsWith("HTTP/1.1 401 "))
      << "it ends with the token";
}

TEST_F(HttpRequestTest, CannotGuessTheTokenByACookie) {
  settings.token = "secret";
  Serve();
  const std::string name = "vexora_session_" + std::to_string(server->port());
  for (const char* const guess : {"1234", "secret"}) {
    // What could be computed from a guess: a hash of something public, with the guess as its key.
    static constexpr std::string_view kPurpose = "vexora-probe session";
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    HMAC(EVP_sha256(), guess, static_cast<int>(std::string(guess).size()),
         reinterpret_cast<const unsigned char*>(kPurpose.data()), kPurpose.size(), hash.data(), &size);
    std::string digits;
    for (unsigned i = 0; i < size; ++i) {
      digits += "0123456789abcdef"[hash[i] >> 4];
      digits += "0123456789abcdef"[hash[i] & 15];
    }
    EXPECT_THAT(Get("/api/x", "Cookie: " + name + "=" + digits + "\r\n"), StartsWith("HTTP/1.1 401 ")) << guess;
  }
}

TEST_F(HttpRequestTest, HasToLogInAgainAfterARestart) {
  settings.token = "secret";
  Serve();
  const auto cookie = [this] {
    const std::string opened = Get("/api/session", "Authorization: Bearer secret\r\n");
    const std::size_t begin = opened.find("set-cookie: ") + std::string("set-cookie: ").size();
    const std::string text = opened.substr(begin, opened.find(';', begin) - begin);
    return text.substr(text.find('=') + 1);
  };
  const std::string old = cookie();
  EXPECT_EQ(old.size(), 64U) << "256 bits";
  EXPECT_EQ(cookie(), old) << "one for each run";
  server.reset();
  Serve();
  const std::string name = "Cookie: vexora_session_" + std::to_string(server->port()) + "=";
  for (int request = 0; request < 15; ++request)
    EXPECT_THAT(Get("/api/x", name + old + "\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", name + cookie() + "\r\n"), StartsWith("HTTP/1.1 200 ")) << "a page that is old is no guess";
}

TEST_F(HttpRequestTest, WithARightTokenThatNobodyGuessesPassesAfterTenWrongOnes) {
  settings.token = std::string(32, 's');
  Serve();
  for (int guess = 0; guess < 10; ++guess)
    EXPECT_THAT(Get("/api/x", "Authorization: Bearer " + std::to_string(guess) + "\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer wrong\r\n"), StartsWith("HTTP/1.1 429 "));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer " + std::string(32, 's') + "\r\n"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer wrong\r\n"), StartsWith("HTTP/1.1 429 "));
}

TEST_F(HttpRequestTest, GetsNoAnswerToATokenAfterTenWrongOnes) {
  settings.token = "secret";
  Serve();
  const std::string opened = Get("/api/session", "Authorization: Bearer secret\r\n");
  const std::size_t begin = opened.find("set-cookie: ") + std::string("set-cookie: ").size();
  const std::string cookie = "Cookie: " + opened.substr(begin, opened.find(';', begin) - begin) + "\r\n";
  for (int guess = 0; guess < 5; ++guess)
    EXPECT_THAT(Get("/api/x", "Authorization: Bearer " + std::to_string(guess) + "\r\n"), StartsWith("HTTP/1.1 401 "));
  const std::string upgrade =
      "Upgrade: websocket\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n";
  const auto handshake = [&](const std::string& headers) {
    test::RawClient client(server->port());
    client.Send(Request("/", "Connection: Upgrade\r\n" + upgrade + headers));
    return client.ReadHead();
  };
  for (int guess = 0; guess < 5; ++guess)
    EXPECT_THAT(handshake("Authorization: Bearer wrong\r\n"), StartsWith("HTTP/1.1 401 "));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer wrong\r\n"),
              AllOf(StartsWith("HTTP/1.1 429 "), ::testing::ContainsRegex("retry-after: [1-6]?[0-9]\r\n")));
  EXPECT_THAT(Get("/api/x", "Authorization: Bearer secret\r\n"), StartsWith("HTTP/1.1 429 ")) << "the right one, too";
  EXPECT_THAT(handshake("Authorization: Bearer secret\r\n"), StartsWith("HTTP/1.1 429 "));
  EXPECT_THAT(Get("/page"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(Get("/api/x"), StartsWith("HTTP/1.1 401 ")) << "no token is no guess";
  EXPECT_THAT(Get("/api/x", cookie), StartsWith("HTTP/1.1 200 ")) << "an open session stays open";
  EXPECT_THAT(handshake(cookie), StartsWith("HTTP/1.1 101 "));
}

TEST_F(HttpRequestTest, OfAForeignPageIsRefused) {
  settings.allowed_origins = {"https://desk.example"};
  Serve();
  EXPECT_THAT(Get("/api/x", "Origin: https://attacker.example\r\n"), StartsWith("HTTP/1.1 403 "));
  EXPECT_THAT(Get("/api/x", "Sec-Fetch-Site: cross-site\r\n"), StartsWith("HTTP/1.1 403 "))
      << "an image or a script of a foreign page has no Origin";
  EXPECT_THAT(Get("/api/x", "Sec-Fetch-Site: same-site\r\n"), StartsWith("HTTP/1.1 403 "));
  EXPECT_THAT(Get("/api/x", "Sec-Fetch-Site: same-origin\r\n"),
              AllOf(StartsWith("HTTP/1.1 200 "), Not(HasSubstr("access-control-allow-origin"))));
  EXPECT_THAT(Get("/api/x", "Sec-Fetch-Site: none\r\n"), StartsWith("HTTP/1.1 200 ")) << "typed by the user";
  EXPECT_THAT(Get("/page", "Sec-Fetch-Site: cross-site\r\n"), StartsWith("HTTP/1.1 200 ")) << "a link to the page";
  EXPECT_THAT(Get("/api/x", "Origin: https://desk.example\r\nSec-Fetch-Site: cross-site\r\n"),
              AllOf(StartsWith("HTTP/1.1 200 "), HasSubstr("access-control-allow-origin: https://desk.example\r\n")));
}

TEST_F(HttpRequestTest, OfAForeignHostNameIsRefused) {
  Serve();
  test::RawClient client(server->port());
  client.Send("GET /api/x HTTP/1.1\r\nHost: attacker.example\r\n\r\n");
  EXPECT_THAT(client.ReadAll(), StartsWith("HTTP/1.1 421 "));
}

TEST_F(HttpRequestTest, IsRefusedOverAConnectionThatSendsTooMany) {
  settings.limits.messages_per_second = 2;
  Serve();
  test::RawClient client(server->port());
  // All at once: the server hangs up after the third, and what is sent after that cannot be.
  std::string requests;
  for (int i = 0; i < 8; ++i) requests += Request("/api/x");
  client.Send(requests);
  EXPECT_THAT(client.ReadAll(), AllOf(HasSubstr("HTTP/1.1 200 "), HasSubstr("HTTP/1.1 429 "),
                                      HasSubstr("limits.messages_per_second = 2")));
}

TEST_F(HttpRequestTest, ThatFailsIsAnsweredAndToldInTheLog) {
  Serve();
  EXPECT_THAT(Get("/api/broken"), AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("internal_error")));
  EXPECT_FALSE(log.Texts(probe::log::Level::kError, "broken").empty());
}

TEST_F(HttpRequestTest, ThatTakesItsTimeHoldsUpNobody) {
  Serve();
  test::RawClient slow(server->port());
  slow.Send(Request("/api/slow", "Connection: close\r\n"));
  ASSERT_TRUE(test::Eventually([&] { return slow_requests == 1; }));
  EXPECT_THAT(Get("/api/x"), StartsWith("HTTP/1.1 200 "));
  auto client = Connect();
  ExpectServed(client);
  LetGo();
  EXPECT_THAT(slow.ReadAll(), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpRequestTest, WhoseClientHasGoneIsForgotten) {
  Serve();
  {
    test::RawClient gone(server->port());
    gone.Send(Request("/api/slow"));
    ASSERT_TRUE(test::Eventually([&] { return slow_requests == 1; }));
    gone.Reset();
  }
  EXPECT_THAT(Get("/api/x"), StartsWith("HTTP/1.1 200 "));
  LetGo();
  EXPECT_THAT(Get("/api/slow"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpRequestTest, IsAnsweredWithAPolicyThatNamesTheProbesOwnOriginOnly) {
  Serve();
  const std::string answer = Get("/api/x");
  const std::size_t begin = answer.find("content-security-policy: ");
  ASSERT_NE(begin, std::string::npos);
  const std::string policy = answer.substr(begin, answer.find('\r', begin) - begin);
  EXPECT_THAT(policy, HasSubstr("connect-src 'self';"));
  for (const char* const scheme : {"ws:", "wss:", "http:", "https:", "*"}) EXPECT_THAT(policy, Not(HasSubstr(scheme)));
}

TEST_F(HttpRequestTest, WhoseClientTakesNothingIsCutOff) {
  settings.limits.connections = 1;
  settings.limits.stuck_after = std::chrono::seconds(1);
  Serve();
  test::RawClient stuck(server->port(), "127.0.0.1", 4096);
  stuck.Send(Request("/api/huge"));  // more than the system's buffers take
  ASSERT_THAT(stuck.ReadHead(), StartsWith("HTTP/1.1 200 "));
  EXPECT_TRUE(test::Eventually([&] { return Get("/api/x").starts_with("HTTP/1.1 200 "); }))
      << "its place is given back";
}

TEST_F(HttpRequestTest, SaysWhenToTryAgainOnlyWhereThatIsKnown) {
  Serve();
  const std::string unknown = Get("/api/unavailable");
  EXPECT_THAT(unknown, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(unknown, Not(HasSubstr("retry-after")));
  const std::string shortly = Get("/api/unavailable/shortly");
  EXPECT_THAT(shortly, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(shortly, HasSubstr("retry-after: 7\r\n"));
}

TEST_F(HttpRequestTest, IsRefusedWhileTooManyWait) {
  const std::size_t kMost = http.workers + probe::HttpRequests::kMaxWaiting;
  settings.limits.connections_per_address = kMost + 8;
  Serve();
  std::vector<std::unique_ptr<test::RawClient>> clients;
  const auto ask = [&] {
    clients.push_back(std::make_unique<test::RawClient>(server->port()));
    clients.back()->Send(Request("/api/slow", "Connection: close\r\n"));
  };
  for (std::size_t i = 0; i < http.workers; ++i) ask();
  ASSERT_TRUE(test::Eventually([&] { return slow_requests == static_cast<int>(http.workers); }));
  for (std::size_t i = clients.size(); i < kMost; ++i) ask();
  test::RawClient late(server->port());
  late.Send(Request("/api/x", "Connection: close\r\n"));
  const std::string refused = late.ReadHead();
  EXPECT_THAT(refused, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(refused, HasSubstr("retry-after: 1\r\n"));
  LetGo();
  for (auto& client : clients) EXPECT_THAT(client->ReadHead(), StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpRequestTest, ThatIsBeingAnsweredIsOverBeforeTheServerHasStopped) {
  Serve();
  test::RawClient client(server->port());
  client.Send(Request("/api/slow"));
  ASSERT_TRUE(test::Eventually([&] { return slow_requests == 1; }));
  std::atomic<bool> is_stopped{false};
  std::thread stopper([&] {
    server->Stop();
    is_stopped = true;
  });
  client.ReadAll();  // the connection is cut
  EXPECT_FALSE(is_stopped);
  LetGo();
  stopper.join();
}

}  // namespace
