#include "tests/probe/server/served.h"

#include <poll.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "monitor/engine/filter.h"
#include "platform/sending.h"
#include "tests/support/test_folder.h"

namespace test {
namespace {

constexpr std::chrono::seconds kDeadline{20};

}  // namespace

subscribes::ParsedRequest RecordingSubscriber::FilterParser(json_object* request) {
  const utilities::lock::lock_guard held(lock_);
  requests_.emplace_back(request == nullptr ? "(null)"
                                            : json_object_to_json_string_ext(request, JSON_C_TO_STRING_PLAIN));
  subscribes::ParsedRequest parsed;
  if (!json_object_is_type(request, json_type_array)) return parsed;
  for (std::size_t i = 0; i < json_object_array_length(request); ++i) {
    json_object* sid = nullptr;
    json_object_object_get_ex(json_object_array_get_idx(request, i), "sid", &sid);
    parsed[sid == nullptr ? "" : json_object_get_string(sid)] = std::make_shared<Filter>();
  }
  return parsed;
}

std::vector<std::string> RecordingSubscriber::Requests() const {
  const utilities::lock::lock_guard held(lock_);
  return requests_;
}

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    poll(nullptr, 0, 1);
  }
  return true;
}

/// A certificate for 127.0.0.1 and its key, for as long as the process runs.
class Certificate {
 public:
  Certificate() {
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=probe "
        "-addext subjectAltName=IP:127.0.0.1 -keyout '" +
        key() + "' -out '" + certificate() + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl made no certificate");
  }
  std::string certificate() const { return folder_.Path("certificate.pem"); }
  std::string key() const { return folder_.Path("key.pem"); }

 private:
  const TestFolder folder_;
};

Served::Served() {
  settings.port = 0;
  service.AddSubscriber("Topic", subscriber);
}

void Served::ServeBodies(std::function<probe::Access(const std::string& path)> look_up) {
  http.look_up = std::move(look_up);
  http.answer = [](const probe::HttpRequest&) {
    probe::HttpAnswer answer;
    answer.body = std::make_shared<const std::string>("body");
    return answer;
  };
}

void Served::Serve() {
  server = std::make_unique<probe::WebServer>(settings, service, http);
  server->Start();
}

void Served::ServeOverTls() {
  static const Certificate made;
  settings.tls_certificate = made.certificate();
  settings.tls_key = made.key();
  is_over_tls_ = true;
  Serve();
}

void Served::RenewCertificate() {
  static const Certificate other;
  settings.tls_certificate = other.certificate();
  settings.tls_key = other.key();
}

probe::ClientOptions Served::Options() const {
  probe::ClientOptions options;
  options.port = server->port();
  options.tls = is_over_tls_;
  if (is_over_tls_) options.trusted_certificate = settings.tls_certificate;
  return options;
}

probe::WebsocketClient Served::Subscribed(const std::string& sid) const {
  auto client = Connect();
  EXPECT_NE(Ask(client, SubscribeText({sid})).find("subscribed"), std::string::npos);
  return client;
}

std::string Served::Next(probe::WebsocketClient& client) {
  const auto text = client.Receive(kDeadline);
  if (!text) ADD_FAILURE() << "no message came";
  return text.value_or("");
}

std::string Served::Ask(probe::WebsocketClient& client, const std::string& request) {
  client.SendText(request);
  return Next(client);
}

std::string Served::ErrorFor(probe::WebsocketClient& client, const std::string& request) {
  const std::string answer = Ask(client, request);
  const auto parsed = nlohmann::json::parse(answer, nullptr, false);
  return parsed.contains("error") ? parsed["error"]["code"].get<std::string>() : answer;
}

void Served::ExpectServed(probe::WebsocketClient& client) {
  EXPECT_EQ(ErrorFor(client, R"({"unsubscribe":{"topic":"Topic","sid":"nobody's"}})"), "unknown_subscription");
  EXPECT_FALSE(client.close_reason().has_value());
}

std::vector<lws*> Served::Handles(const std::string& sid) {
  std::vector<lws*> handles;
  const auto connections = service.Subscriptions("Topic")[sid];
  for (const auto& [connection, filter] : connections) handles.push_back(connection);
  return handles;
}

lws* Served::AwaitHandle() {
  std::vector<lws*> handles;
  const auto is_alone = [&] { return (handles = Handles()).size() == 1; };
  if (!Eventually(is_alone)) throw std::runtime_error("not one connection, but " + std::to_string(handles.size()));
  return handles.front();
}

void Served::Push(lws* connection, const std::string& text) {
  const SalSendByCon send = GetSalSendByCon();
  ASSERT_NE(send, nullptr);
  send(connection, text);
}

std::string SubscribeText(const std::vector<std::string>& sids, bool has_own_filters) {
  nlohmann::json request = nlohmann::json::array();
  for (const auto& sid : sids)
    request.push_back({{"sid", sid}, {"filter", {{"interval", has_own_filters ? sid : std::string("1m")}}}});
  return nlohmann::json{{"subscribe", {{"topic", "Topic"}, {"request", request}}}}.dump();
}

std::string Envelope(const std::string& sid, int number, std::size_t ballast) {
  return R"({"name":"Topic","data":{"1m":{"number":)" + std::to_string(number) + R"(,"ballast":")" +
         std::string(ballast, 'x') + R"(","sid":[")" + sid + R"("]}}})";
}

}  // namespace test
