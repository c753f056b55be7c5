// Requests and handshakes octet by octet, as no well-behaved client sends them, with the status that each has to get.

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "probe/server/http/http_message.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using namespace std::string_literals;

/// What a client sends, and what it gets. In `octets`, "{P}" is the server's port and "{H}" a Host header with it.
struct RawRequest {
  std::string name;
  std::string octets;
  std::vector<unsigned> statuses;  ///< In their order; empty: the connection ends without an answer.
};

void PrintTo(const RawRequest& request, std::ostream* out) {
  *out << request.name;
}

std::string NameOfRequest(const ::testing::TestParamInfo<RawRequest>& info) {
  return info.param.name;
}

class RawRequestTest : public test::Served, public ::testing::WithParamInterface<RawRequest> {
 protected:
  RawRequestTest() {
    ServeBodies(
        [](const std::string& path) { return path == "/api/x" ? probe::Access::kPublic : probe::Access::kNotFound; });
  }

  std::string Filled(std::string octets) const {
    const std::string port = std::to_string(server->port());
    const auto fill = [&](const std::string& what, const std::string& with) {
      for (auto at = octets.find(what); at != std::string::npos; at = octets.find(what, at + with.size()))
        octets.replace(at, what.size(), with);
    };
    fill("{H}", "Host: 127.0.0.1:{P}\r\n" + forwarded_);
    fill("{P}", port);
    return octets;
  }

  /// What a proxy adds to each request.
  std::string forwarded_;

  /// Sends the request, and expects its answers.
  void ExpectItsStatus(test::RawClient& client);

  /// The statuses of the answers in what a server sent.
  static std::vector<unsigned> StatusesIn(const std::string& answers) {
    std::vector<unsigned> statuses;
    for (auto at = answers.find("HTTP/1."); at != std::string::npos; at = answers.find("HTTP/1.", at + 1)) {
      const std::string rest = answers.substr(at + std::string("HTTP/1.1").size());
      if (rest.starts_with(' ')) statuses.push_back(static_cast<unsigned>(std::stoul(rest)));
    }
    return statuses;
  }
};

TEST_P(RawRequestTest, GetsItsStatus) {
  Serve();
  test::RawClient client(server->port());
  ExpectItsStatus(client);
}

TEST_P(RawRequestTest, GetsTheSameOverTls) {
  ServeOverTls();
  test::RawClient client(server->port());
  client.StartTls();
  ExpectItsStatus(client);
}

TEST_P(RawRequestTest, GetsTheSameThroughATrustedProxy) {
  settings.trusted_proxies = {"127.0.0.1"};
  forwarded_ = "X-Forwarded-For: 203.0.113.9, 192.0.2.7\r\n";
  settings.limits.connections_per_address = 1;  // which the bystander has, whom no proxy names
  Serve();
  test::RawClient client(server->port());
  ExpectItsStatus(client);
}

void RawRequestTest::ExpectItsStatus(test::RawClient& client) {
  auto bystander = Connect();
  client.Send(Filled(GetParam().octets));
  client.EndSending();
  const std::string answers = client.ReadAll();
  EXPECT_EQ(StatusesIn(answers), GetParam().statuses) << answers;
  ExpectServed(bystander);
}

/// A request of these lines, with the Host header of the server.
std::string With(const std::string& request_line, const std::string& headers = "") {
  return request_line + "\r\n{H}" + headers + "\r\n";
}

/// A request that is answered with 200 unless one of these further headers is in the way.
std::string Get(const std::string& headers) {
  return With("GET /api/x HTTP/1.1", headers);
}

/// A websocket handshake, from which parts can be taken away and to which others can be added.
struct Handshake {
  std::string request_line = "GET / HTTP/1.1";
  std::string host = "{H}";
  std::string upgrade = "Upgrade: websocket\r\n";
  std::string connection = "Connection: Upgrade\r\n";
  std::string key = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  std::string version = "Sec-WebSocket-Version: 13\r\n";
  std::string more;

  std::string Text() const {
    return request_line + "\r\n" + host + upgrade + connection + key + version + more + "\r\n";
  }
};

/// A handshake in which one part is another.
std::string Changed(std::string Handshake::*part, const std::string& text) {
  Handshake handshake;
  handshake.*part = text;
  return handshake.Text();
}

std::string KeyOf(const std::string& key) {
  return Changed(&Handshake::key, "Sec-WebSocket-Key: " + key + "\r\n");
}

/// A request whose head has exactly so many octets, once the placeholders of a port of five digits are filled in.
std::string OfSize(std::size_t size) {
  const std::string begin = "GET / HTTP/1.1\r\nHost: localhost\r\nCookie: ";
  return begin + std::string(size - begin.size() - 4, 'x') + "\r\n\r\n";
}

INSTANTIATE_TEST_SUITE_P(
    RequestLine, RawRequestTest,
    ::testing::Values(
        RawRequest{"Plain", With("GET / HTTP/1.1"), {426}}, RawRequest{"Served", With("GET /api/x HTTP/1.1"), {200}},
        RawRequest{"MethodInLowerCase", With("get / HTTP/1.1"), {501}},
        RawRequest{"UnknownMethod", With("FETCH /api/x HTTP/1.1"), {501}},
        RawRequest{"NoMethod", With(" / HTTP/1.1"), {400}},
        RawRequest{"MethodWithABracket", With("GE[T / HTTP/1.1"), {400}},
        RawRequest{"TwoBlanks", With("GET  / HTTP/1.1"), {400}},
        RawRequest{"BlankAtTheEnd", With("GET / HTTP/1.1 "), {400}},
        RawRequest{"TabForABlank", With("GET\t/ HTTP/1.1"), {400}}, RawRequest{"NoVersion", With("GET /"), {400}},
        RawRequest{"NothingButAPath", With("/"), {400}},
        RawRequest{"VersionInLowerCase", With("GET / http/1.1"), {400}},
        RawRequest{"OtherProtocol", With("GET / FTP/1.1"), {400}},
        RawRequest{"VersionOfTwoDigits", With("GET / HTTP/11.1"), {400}},
        RawRequest{"VersionWithoutAPoint", With("GET / HTTP/11"), {400}},
        RawRequest{"Version09", With("GET / HTTP/0.9"), {505}}, RawRequest{"Version20", With("GET / HTTP/2.0"), {505}},
        RawRequest{"Version99", With("GET / HTTP/9.9"), {505}},
        RawRequest{"Version10", With("GET /api/x HTTP/1.0"), {200}},
        RawRequest{"Version12", With("GET /api/x HTTP/1.2"), {505}},
        RawRequest{"PrefaceOfHttp2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"s + "\0\0\0\4\0\0\0\0\0"s, {505}},
        RawRequest{"Post", With("POST /api/x HTTP/1.1"), {405}}, RawRequest{"Trace", With("TRACE / HTTP/1.1"), {405}},
        RawRequest{"Connect", With("CONNECT attacker.example:443 HTTP/1.1"), {405}},
        RawRequest{"ConnectToItself", With("CONNECT 127.0.0.1:{P} HTTP/1.1"), {405}},
        RawRequest{"OptionsOfTheServer", With("OPTIONS * HTTP/1.1"), {405}}),
    NameOfRequest);

INSTANTIATE_TEST_SUITE_P(
    Target, RawRequestTest,
    ::testing::Values(RawRequest{"TwoSlashes", With("GET //api/x HTTP/1.1"), {404}},
                      RawRequest{"Dot", With("GET /./api/x HTTP/1.1"), {404}},
                      RawRequest{"DotDot", With("GET /a/../api/x HTTP/1.1"), {404}},
                      RawRequest{"EncodedSlash", With("GET /%2fapi/x HTTP/1.1"), {404}},
                      RawRequest{"EncodedLetter", With("GET /%61pi/x HTTP/1.1"), {404}},
                      RawRequest{"EncodedNul", With("GET /api/x%00 HTTP/1.1"), {404}},
                      RawRequest{"Nul", With("GET /\0 HTTP/1.1"s), {400}},
                      RawRequest{"Control", With("GET /\x01 HTTP/1.1"), {400}},
                      RawRequest{"Delete", With("GET /\x7f HTTP/1.1"), {400}},
                      RawRequest{"NotAscii", With("GET /\xc3\xa4 HTTP/1.1"), {400}},
                      RawRequest{"Fragment", With("GET /api/x#part HTTP/1.1"), {400}},
                      RawRequest{"Query", With("GET /api/x?a=%41&b HTTP/1.1"), {200}},
                      RawRequest{"QueryWithANul", With("GET /api/x?a=%00 HTTP/1.1"), {400}},
                      RawRequest{"QueryWithABadEncoding", With("GET /api/x?a=%zz HTTP/1.1"), {400}},
                      RawRequest{"QueryWithHalfAnEncoding", With("GET /api/x?a=%4 HTTP/1.1"), {400}},
                      RawRequest{"QueryWithASignedEncoding", With("GET /api/x?a=%-1 HTTP/1.1"), {400}},
                      RawRequest{"Asterisk", With("GET * HTTP/1.1"), {400}},
                      RawRequest{"NoSlash", With("GET api/x HTTP/1.1"), {400}},
                      RawRequest{"Authority", With("GET 127.0.0.1:{P} HTTP/1.1"), {400}},
                      RawRequest{"AbsoluteOurs", With("GET http://127.0.0.1:{P}/api/x HTTP/1.1"), {200}},
                      RawRequest{"AbsoluteWithoutAPath", With("GET http://127.0.0.1:{P} HTTP/1.1"), {426}},
                      RawRequest{"AbsoluteOfSomebodyElse", With("GET http://attacker.example/api/x HTTP/1.1"), {400}},
                      RawRequest{"AbsoluteAndHostOfSomebodyElse",
                                 "GET http://attacker.example/api/x HTTP/1.1\r\nHost: attacker.example\r\n\r\n",
                                 {421}},
                      RawRequest{"AbsoluteOfAnotherScheme", With("GET file:///api/x HTTP/1.1"), {400}},
                      RawRequest{"TooLong", With("GET /" + std::string(9000, 'x') + " HTTP/1.1"), {414}}),
    NameOfRequest);

INSTANTIATE_TEST_SUITE_P(
    Lines, RawRequestTest,
    ::testing::Values(RawRequest{"Nothing", "", {}}, RawRequest{"NothingButAnEmptyLine", "\r\n", {}},
                      RawRequest{"EmptyLinesBefore", "\r\n\r\n" + Get(""), {200}},
                      RawRequest{"HalfAHead", "GET / HTTP/1.1\r\nHost: 12", {400}},
                      RawRequest{"AlmostAHead", "GET / HTTP/1.1\r\n{H}", {400}},
                      RawRequest{"TlsHandshake", "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"s, {400}},
                      RawRequest{"NulFirst", "\0GET / HTTP/1.1\r\n{H}\r\n"s, {400}},
                      RawRequest{"LfAlone", "GET / HTTP/1.1\nHost: localhost\n\n", {400}},
                      RawRequest{"LfAloneInTheMiddle", "GET / HTTP/1.1\r\n{H}Accept: x\nCookie: y\r\n\r\n", {400}},
                      RawRequest{"CrAlone", "GET / HTTP/1.1\r\n{H}Accept: x\rCookie: y\r\n\r\n", {400}},
                      RawRequest{"FoldedWithABlank", Get("Cookie: a\r\n b\r\n"), {400}},
                      RawRequest{"FoldedWithATab", Get("Cookie: a\r\n\tb\r\n"), {400}},
                      RawRequest{"BlankBeforeTheFirstHeader", "GET / HTTP/1.1\r\n {H}\r\n", {400}},
                      RawRequest{"HeadOfTheGreatestSize", OfSize(8192), {426}},
                      RawRequest{"HeadTooLarge", OfSize(8193), {431}},
                      RawRequest{"HeadMuchTooLarge", OfSize(100'000), {431}},
                      RawRequest{"ManyHeaders",
                                 [] {
                                   std::string headers;
                                   for (int i = 0; i < 3000; ++i) headers += "X: y\r\n";
                                   return Get(headers);
                                 }(),
                                 {431}}),
    NameOfRequest);

INSTANTIATE_TEST_SUITE_P(
    Headers, RawRequestTest,
    ::testing::Values(
        RawRequest{"NoHost", "GET /api/x HTTP/1.1\r\n\r\n", {400}},
        RawRequest{"NoHostInVersion10", "GET /api/x HTTP/1.0\r\n\r\n", {403}},
        RawRequest{"EmptyHost", "GET /api/x HTTP/1.1\r\nHost:\r\n\r\n", {421}},
        RawRequest{"HostWithAUser", "GET /api/x HTTP/1.1\r\nHost: a@127.0.0.1\r\n\r\n", {421}},
        RawRequest{"TwoHosts", Get("Host: 127.0.0.1:{P}\r\n"), {400}},
        RawRequest{"HostInUpperCase", "GET /api/x HTTP/1.1\r\nHOST: LOCALHOST\r\n\r\n", {200}},
        RawRequest{"BlankBeforeTheColon", "GET /api/x HTTP/1.1\r\nHost : localhost\r\n\r\n", {400}},
        RawRequest{"NoColon", Get("Cookie\r\n"), {400}}, RawRequest{"NoName", Get(": value\r\n"), {400}},
        RawRequest{"BracketInAName", Get("Coo(kie: x\r\n"), {400}},
        RawRequest{"NulInAValue", Get("Cookie: a\0b\r\n"s), {400}},
        RawRequest{"ControlInAValue", Get("Cookie: a\x01z\r\n"), {400}},
        RawRequest{"DeleteInAValue", Get("Cookie: a\x7fz\r\n"), {400}},
        RawRequest{"OctetsAboveAsciiInAValue", Get("Cookie: \xc3\xa4\r\n"), {200}},
        RawRequest{"EmptyLengthOfABody", Get("Content-Length: 0\r\n"), {200}},
        RawRequest{"Body", Get("Content-Length: 4\r\n") + "body", {400}},
        RawRequest{"BodyToWaitFor", Get("Content-Length: 4\r\nExpect: 100-continue\r\n"), {400}},
        RawRequest{"NegativeLength", Get("Content-Length: -1\r\n"), {400}},
        RawRequest{"SignedLength", Get("Content-Length: +0\r\n"), {400}},
        RawRequest{"LengthInWords", Get("Content-Length: four\r\n"), {400}},
        RawRequest{"LengthBeyondAllNumbers", Get("Content-Length: 99999999999999999999999\r\n"), {400}},
        RawRequest{"TwoLengths", Get("Content-Length: 0\r\nContent-Length: 4\r\n"), {400}},
        RawRequest{"TwoEqualLengths", Get("Content-Length: 4\r\nContent-Length: 4\r\n") + "body", {400}},
        RawRequest{"LengthAndCoding", Get("Content-Length: 0\r\nTransfer-Encoding: chunked\r\n") + "0\r\n\r\n", {400}},
        RawRequest{"CodingAndLength", Get("Transfer-Encoding: chunked\r\nContent-Length: 0\r\n") + "0\r\n\r\n", {400}},
        RawRequest{"Chunked", Get("Transfer-Encoding: chunked\r\n") + "0\r\n\r\n", {400}},
        RawRequest{"UnknownCoding", Get("Transfer-Encoding: rot13\r\n"), {400}},
        RawRequest{"Pipelined", Get("") + Get("") + Get("Connection: close\r\n"), {200, 200, 200}},
        RawRequest{"PipelinedBehindTheLast", Get("Connection: close\r\n") + Get(""), {200}},
        RawRequest{"GarbageBehindARequest", Get("") + "\x80\r\n\r\n", {200, 400}},
        RawRequest{"ABodyIsNoRequest", Get("Content-Length: 50\r\n") + Get(""), {400}}),
    NameOfRequest);

INSTANTIATE_TEST_SUITE_P(
    Upgrades, RawRequestTest,
    ::testing::Values(
        RawRequest{"Handshake", Handshake{}.Text(), {101}},
        RawRequest{"InMixedCase", Changed(&Handshake::upgrade, "UPGRADE: WebSocket\r\n"), {101}},
        RawRequest{
            "AmongOthersInConnection", Changed(&Handshake::connection, "Connection: keep-alive, Upgrade\r\n"), {101}},
        RawRequest{"OverHttp10", Changed(&Handshake::request_line, "GET / HTTP/1.0"), {426}},
        RawRequest{"OverHttp99", Changed(&Handshake::request_line, "GET / HTTP/9.9"), {505}},
        RawRequest{"WithoutAVersionOfHttp", Changed(&Handshake::request_line, "GET /"), {400}},
        RawRequest{"ByPost", Changed(&Handshake::request_line, "POST / HTTP/1.1"), {400}},
        RawRequest{"AtANul", Changed(&Handshake::request_line, "GET /\0 HTTP/1.1"s), {400}},
        RawRequest{"AtTwoSlashes", Changed(&Handshake::request_line, "GET // HTTP/1.1"), {404}},
        RawRequest{"AtADot", Changed(&Handshake::request_line, "GET /./ HTTP/1.1"), {404}},
        RawRequest{"AtDotDot", Changed(&Handshake::request_line, "GET /a/.. HTTP/1.1"), {404}},
        RawRequest{"AtAnEncodedSlash", Changed(&Handshake::request_line, "GET /%2f HTTP/1.1"), {404}},
        RawRequest{"Elsewhere", Changed(&Handshake::request_line, "GET /api/x HTTP/1.1"), {404}},
        RawRequest{
            "WithAnAbsoluteTarget", Changed(&Handshake::request_line, "GET http://127.0.0.1:{P}/ HTTP/1.1"), {101}},
        RawRequest{"WithoutHost", Changed(&Handshake::host, ""), {400}},
        RawRequest{"WithAForeignHost", Changed(&Handshake::host, "Host: attacker.example\r\n"), {421}},
        RawRequest{"WithAForeignOrigin", Changed(&Handshake::more, "Origin: http://attacker.example\r\n"), {403}},
        RawRequest{"OriginBeforeTheKey", Changed(&Handshake::key, "Origin: http://attacker.example\r\n"), {403}},
        RawRequest{"ToHttp2", Changed(&Handshake::upgrade, "Upgrade: h2c\r\nHTTP2-Settings: AAMAAABk\r\n"), {403}},
        RawRequest{"ToTwoProtocols", Changed(&Handshake::upgrade, "Upgrade: websocket, h2c\r\n"), {403}},
        RawRequest{"Twice", Changed(&Handshake::more, "Upgrade: websocket\r\n"), {403}},
        RawRequest{"WithoutConnection", Changed(&Handshake::connection, ""), {400}},
        RawRequest{"WithConnectionClose", Changed(&Handshake::connection, "Connection: close\r\n"), {400}},
        RawRequest{"WithABody", Changed(&Handshake::more, "Content-Length: 4\r\n") + "body", {400}},
        RawRequest{"WithoutAKey", Changed(&Handshake::key, ""), {400}}, RawRequest{"WithAnEmptyKey", KeyOf(""), {400}},
        RawRequest{"WithAKeyOfThreeLetters", KeyOf("abc"), {400}},
        RawRequest{"WithAKeyOfFifteenOctets", KeyOf("dGhlIHNhbXBsZSBub25j"), {400}},
        RawRequest{"WithAKeyOfSeventeenOctets", KeyOf("dGhlIHNhbXBsZSBub25jZWE="), {400}},
        RawRequest{"WithAKeyThatIsNoBase64", KeyOf("dGhlIHNhbXBsZSBub25j?Q=="), {400}},
        RawRequest{"WithAKeyOfTooManyBits", KeyOf("dGhlIHNhbXBsZSBub25jZR=="), {400}},
        RawRequest{"WithAKeyOf3000Octets", KeyOf(std::string(3000, 'a')), {400}},
        RawRequest{"WithTwoKeys", Changed(&Handshake::more, "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"), {400}},
        RawRequest{"WithoutAVersion", Changed(&Handshake::version, ""), {426}},
        RawRequest{"WithVersion8", Changed(&Handshake::version, "Sec-WebSocket-Version: 8\r\n"), {426}},
        RawRequest{"WithVersion013", Changed(&Handshake::version, "Sec-WebSocket-Version: 013\r\n"), {426}},
        RawRequest{"WithTwoVersions", Changed(&Handshake::more, "Sec-WebSocket-Version: 13\r\n"), {426}},
        RawRequest{
            "WithOurSubprotocol", Changed(&Handshake::more, "Sec-WebSocket-Protocol: a, vexora-probe\r\n"), {101}},
        RawRequest{"WithAForeignSubprotocol", Changed(&Handshake::more, "Sec-WebSocket-Protocol: chat\r\n"), {400}},
        RawRequest{"WithAnEmptyExtension", Changed(&Handshake::more, "Sec-WebSocket-Extensions:\r\n"), {101}}),
    NameOfRequest);

class RawConnectionTest : public RawRequestTest {};

TEST_F(RawConnectionTest, AgreesToTheSubprotocolAndToNoExtension) {
  Serve();
  test::RawClient client(server->port());
  const std::string head =
      client.Upgrade("Sec-WebSocket-Protocol: chat, vexora-probe\r\nSec-WebSocket-Extensions: permessage-deflate\r\n");
  EXPECT_THAT(head, HasSubstr("Sec-WebSocket-Protocol: vexora-probe\r\n"));
  EXPECT_THAT(head, HasSubstr("Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n"));
  EXPECT_THAT(head, Not(HasSubstr("Extensions")));
  test::RawClient other(server->port());
  EXPECT_THAT(other.Upgrade(), Not(HasSubstr("Sec-WebSocket-Protocol")));
}

TEST_F(RawConnectionTest, AnswersAHeadThatComesOctetByOctet) {
  Serve();
  test::RawClient client(server->port());
  for (const char octet : Filled(Get("Connection: close\r\n"))) client.Send(std::string(1, octet));
  EXPECT_THAT(client.ReadAll(), StartsWith("HTTP/1.1 200 "));
}

TEST_F(RawConnectionTest, TellsAHeadThatNeverEndsThatItTookTooLong) {
  Serve();
  test::RawClient client(server->port());
  client.Send(Filled("GET / HTTP/1.1\r\n{H}"));
  EXPECT_THAT(client.ReadAll(), StartsWith("HTTP/1.1 408 "));
}

TEST_F(RawConnectionTest, ClosesAConnectionOverWhichNoRequestComes) {
  Serve();
  test::RawClient silent(server->port());
  test::RawClient idle(server->port());
  idle.Send(Filled(Get("")));
  EXPECT_THAT(idle.ReadAll(), StartsWith("HTTP/1.1 200 "));
  EXPECT_EQ(silent.ReadAll(), "");
}

TEST_F(RawConnectionTest, SendsNoBodyToAHeadRequestThatItRefuses) {
  Serve();
  test::RawClient client(server->port());
  client.Send(Filled(With("HEAD /nothing HTTP/1.1")));
  const std::string answer = client.ReadAll();
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 "));
  EXPECT_THAT(answer, ::testing::EndsWith("\r\n\r\n"));
}

TEST_F(RawConnectionTest, ReadsFramesThatComeTogetherWithTheHandshake) {
  Serve();
  test::RawClient client(server->port());
  client.Send(Filled(Handshake{}.Text()) + "\x81\x82\0\0\0\0{}"s);
  EXPECT_THAT(client.ReadHead(), StartsWith("HTTP/1.1 101 "));
  EXPECT_THAT(client.ReadMessage().value_or(""), HasSubstr("unknown_message"));
}

}  // namespace
