#include "probe/server/http/http_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <memory>
#include <set>
#include <string>

#include "tests/support/schema/schema.h"

namespace probe {
namespace {

TEST(HttpMessage, EqualBodiesHaveOneEtagAndOthersAnother) {
  EXPECT_EQ(EtagOf("a"), EtagOf("a"));
  EXPECT_EQ((std::set{EtagOf(""), EtagOf("a"), EtagOf("b"), EtagOf("ab"), EtagOf("ba")}).size(), 5U);
  EXPECT_THAT(EtagOf("a"), ::testing::MatchesRegex("\"[0-9a-f-]+\""));
}

TEST(HttpMessage, IfNoneMatchIsAListOfEtags) {
  EXPECT_TRUE(NamesEtag("\"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("W/\"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("\"x\" , \"a\"", "\"a\""));
  EXPECT_TRUE(NamesEtag("*", "\"a\""));
  EXPECT_FALSE(NamesEtag("", "\"a\""));
  EXPECT_FALSE(NamesEtag("\"ab\"", "\"a\""));
  EXPECT_FALSE(NamesEtag(",,", "\"a\""));
  EXPECT_FALSE(NamesEtag("*", "")) << "an answer without one is always sent";
}

TEST(HttpMessage, AnErrorHasACodeForProgramsAndAMessageForPeople) {
  const HttpAnswer answer = ErrorAnswer(404, "unknown_period", "There is none.");
  EXPECT_EQ(answer.status, 404U);
  EXPECT_EQ(*answer.body,
            "{\"type\":\"/api/v1/schemas/problem.json#/definitions/unknown_period\",\"title\":\"Unknown period\","
            "\"status\":404,\"detail\":\"There is none.\","
            "\"error\":{\"code\":\"unknown_period\",\"message\":\"There is none.\"}}\n");
  EXPECT_EQ(answer.content_type, "application/problem+json");
  EXPECT_EQ(answer.caching, Caching::kNoStore);
}

TEST(HttpMessage, AnErrorThatIsNoMoreThanItsStatusHasNoTypeOfItsOwn) {
  const std::string body = *ErrorAnswer(421, "misdirected", "Not here.").body;
  EXPECT_THAT(body, ::testing::HasSubstr(R"("type":"about:blank","title":"Misdirected Request","status":421)"));
}

TEST(HttpMessage, EveryErrorFollowsItsSchema) {
  for (const unsigned status :
       {400U, 401U, 403U, 404U, 405U, 408U, 414U, 421U, 426U, 429U, 431U, 500U, 501U, 503U, 505U})
    EXPECT_EQ(test::SchemaViolation("problem", *ErrorAnswer(status, CodeOfStatus(status), "Why.").body), "");
  EXPECT_EQ(test::SchemaViolation("problem", *ErrorAnswer(404, "unknown_device", "Why.").body), "");
  EXPECT_NE(test::SchemaViolation("problem", *ErrorAnswer(404, "unheard_of", "Why.").body), "");
}

TEST(HttpMessage, GzipIsTakenByThoseWhoSaySo) {
  for (const char* header : {"gzip", "GZIP", "x-gzip", "deflate, gzip;q=0.5", "gzip ; q=0.001", "br;q=1, *;q=0.1", "*",
                             "gzip;q=1.000, identity;q=0.5", "identity;q=0, gzip"})
    EXPECT_TRUE(AcceptsGzip(header)) << header;
  for (const char* header : {"", "identity", "br", "gzip;q=0", "gzip;q=0.000", "gzip; q=0", "*;q=0", "*, gzip;q=0",
                             "notgzip", "gzipped", "gzip;q=0.3, identity;q=0.7"})
    EXPECT_FALSE(AcceptsGzip(header)) << header;
}

/// What a client makes of a compressed body.
std::string Plain(const std::string& compressed) {
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, MAX_WBITS + 16), Z_OK);
  std::string plain(1'000'000, '\0');
  std::string input = compressed;
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(plain.data());
  stream.avail_out = static_cast<uInt>(plain.size());
  EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
  plain.resize(stream.total_out);
  inflateEnd(&stream);
  return plain;
}

HttpAnswer Compressed(const std::string& body, HttpRequest request, const std::string& type = "application/json") {
  HttpAnswer answer;
  answer.body = std::make_shared<const std::string>(body);
  answer.content_type = type;
  answer.etag = "\"tag\"";
  Compress(request, answer);
  return answer;
}

TEST(HttpMessage, OnlyLargeTextsAreCompressed) {
  HttpRequest request{"/", {}};
  const std::string text(kMinGzipBytes, 'a');
  EXPECT_FALSE(Compressed(text, request).is_gzip) << "nobody asked for it";
  request.accepts_gzip = true;
  EXPECT_FALSE(Compressed(text.substr(1), request).is_gzip);
  EXPECT_FALSE(Compressed(text, request, "image/png").is_gzip);
  const HttpAnswer answer = Compressed(text, request);
  EXPECT_TRUE(answer.is_gzip);
  EXPECT_EQ(answer.etag, "\"tag-gzip\"");
  EXPECT_LT(answer.body->size(), 100U);
  EXPECT_EQ(Plain(*answer.body), text);
  std::string noise;
  for (unsigned number = 1; noise.size() < 500'000; number = number * 1'664'525 + 1'013'904'223)
    noise.push_back(static_cast<char>(number >> 24));
  EXPECT_EQ(Plain(*Compressed(noise, request).body), noise) << "what grows by compression fits as well";
}

TEST(HttpMessage, WhatTheClientHasIsNotCompressedAgain) {
  HttpRequest request{"/", {}};
  request.accepts_gzip = true;
  request.if_none_match = "\"tag-gzip\"";
  const std::string text(10'000, 'a');
  const HttpAnswer answer = Compressed(text, request);
  EXPECT_EQ(*answer.body, text);
  EXPECT_TRUE(NamesEtag(request.if_none_match, answer.etag));
}

TEST(HttpMessage, EveryStatusOfARefusalHasACode) {
  std::set<std::string> codes;
  for (const unsigned status :
       {400U, 401U, 403U, 404U, 405U, 408U, 414U, 421U, 426U, 429U, 431U, 500U, 501U, 503U, 505U})
    codes.insert(CodeOfStatus(status));
  EXPECT_EQ(codes.size(), 15U);
  EXPECT_FALSE(codes.contains("error"));
}

}  // namespace
}  // namespace probe
