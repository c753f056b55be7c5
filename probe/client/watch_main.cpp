// probe-watch: subscribes to a topic of a probe and prints what comes, one message a line.

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "probe/client/request_check.h"
#include "probe/client/url.h"
#include "probe/client/websocket_client.h"
#include "probe/text/command_line_exit.h"
#include "probe/text/json_text.h"
#include "probe/text/utf8.h"
#include "probe/version/version.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

// How soon an interrupt is noticed.
constexpr std::chrono::milliseconds kPatience{200};
constexpr std::chrono::seconds kRetry{1};

constexpr const char* kFooter =
    R"(Topics: TrafficMonitor, HealthMonitor, DevicesClientCountMonitor, SSIDClientCountMonitor, wireless_top_monitor.

Ten messages of the traffic of one device, a point a minute:

  probe-watch --count 10 TrafficMonitor '[{"sid": "me", "filter": {"interval": "1m", "mac": "02:FC:00:00:00:01"}}]'

Exit codes: 0 as many messages as were asked for, or interrupted; 1 refused, or the connection was lost, which --retry
goes on after; 2 unusable command line, request or URL.)";

/// What somebody typed after `probe-watch`.
struct WatchOptions {
  std::string url = "ws://127.0.0.1:8765";
  std::string token;
  std::string token_file;
  std::string certificate;
  std::string topic;
  std::string request = R"([{"sid":"watch","filter":{}}])";
  std::size_t count = 0;  ///< 0: until interrupted.
  bool is_retrying = false;
};

void AddOptions(CLI::App& app, WatchOptions& options) {
  app.add_option("--url", options.url, "Where the probe is")->capture_default_str();
  auto* token =
      app.add_option("--token", options.token, "Token of the probe. Who lists the machine's programs can read it");
  app.add_option("--token-file", options.token_file,
                 "File whose first line is the token. Without both it is that of the environment, VEXORA_TOKEN")
      ->type_name("FILE")
      ->check(CLI::ExistingFile)
      ->excludes(token);
  app.add_option("--certificate", options.certificate, "PEM file of the probe's certificate, for wss");
  app.add_option("--count", options.count, "End after so many messages; 0: go on until interrupted")
      ->capture_default_str();
  app.add_flag("--retry", options.is_retrying,
               "Connect again, a second later, when the probe is not there or has gone");
  app.set_version_flag("--version", std::string("probe-watch ") + probe::kVersionText, "Print the version and exit");
  app.add_option("TOPIC", options.topic, "Topic to subscribe to, such as TrafficMonitor")->required();
  app.add_option("REQUEST-JSON", options.request, "Array of what to subscribe to")->capture_default_str();
}

/// A command line that cannot be used.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The token that the command line or the environment gives; empty: none.
std::string TokenOf(const WatchOptions& options) {
  if (options.token_file.empty()) {
    const char* const variable = std::getenv("VEXORA_TOKEN");  // NOLINT(concurrency-mt-unsafe): one thread
    return options.token.empty() && variable != nullptr ? variable : options.token;
  }
  std::ifstream file(options.token_file);
  std::string token;
  std::getline(file, token);
  if (token.ends_with('\r')) token.pop_back();  // the line of an editor that ends its lines so
  if (token.empty()) throw UsageError("--token-file: no token can be read from " + options.token_file);
  return token;
}

/// Says what the topic will not understand. Fails: throws `UsageError` for what is no request at all.
void CheckRequest(const WatchOptions& options) {
  const auto request = nlohmann::json::parse(options.request, nullptr, false);
  if (!request.is_array()) throw UsageError("REQUEST-JSON: must be an array, as JSON");
  for (const std::string& warning : probe::RequestWarnings(options.topic, request)) {
    std::cerr << "probe-watch: warning: " << probe::PrintableLine(warning) << "\n";
  }
}

/// How to connect. Fails: throws `UsageError` for what is no URL, and for a file without a token.
probe::ClientOptions ConnectionOf(const WatchOptions& options) {
  probe::ClientOptions connection;
  try {
    connection = probe::OptionsFromUrl(options.url);
  } catch (const probe::ClientError& error) {
    throw UsageError(std::string("--url: ") + error.what());
  }
  connection.trusted_certificate = options.certificate;
  if (const std::string token = TokenOf(options); !token.empty())
    connection.headers["Authorization"] = "Bearer " + token;
  return connection;
}

/// How a connection ended.
enum class Ending { kDone, kClosed, kRefused };

/// Prints messages until there were `count` in all.
///
/// Names in what a probe sends come from the air, and may hold control characters: none of them reaches the terminal.
/// Fails: throws `probe::ClientError` when there is no connection, or it breaks.
Ending Watch(const probe::ClientOptions& connection, const WatchOptions& options, std::size_t& messages) {
  probe::WebsocketClient client(connection);
  client.SendText(R"({"subscribe":{"topic":)" + probe::Dump(nlohmann::json(options.topic)) + R"(,"request":)" +
                  options.request + "}}");
  while (interrupted == 0 && (options.count == 0 || messages < options.count)) {
    const auto text = client.Receive(kPatience);
    if (const auto reason = client.close_reason()) {
      std::cerr << "the probe closed the connection: " << reason->code << " " << probe::PrintableLine(reason->text)
                << "\n";
      return Ending::kClosed;
    }
    if (!text) continue;
    if (text->rfind(R"({"error":)", 0) == 0) {
      std::cerr << probe::PrintableJson(*text) << "\n";
      return Ending::kRefused;
    }
    if (text->rfind(R"({"subscribed":)", 0) == 0) continue;
    // Flushed each time: who reads from a pipe wants a message when it comes.
    std::cout << probe::PrintableJson(*text) << std::endl;
    ++messages;
  }
  client.Close();
  return Ending::kDone;
}

/// Whether the next attempt may find another answer: a refusal stays, but for too many requests and too many clients.
bool MayPass(const probe::ClientError& failure) {
  constexpr unsigned kTooManyRequests = 429;
  constexpr unsigned kUnavailable = 503;
  const unsigned status = failure.http_status();
  return status == 0 || status == kTooManyRequests || status == kUnavailable;
}

/// Prints messages; with `--retry` over as many connections as it takes.
bool WatchOn(const WatchOptions& options) {
  const probe::ClientOptions connection = ConnectionOf(options);
  CheckRequest(options);
  std::size_t messages = 0;
  for (;;) {
    try {
      const Ending ending = Watch(connection, options, messages);
      if (ending != Ending::kClosed || !options.is_retrying) return ending == Ending::kDone;
    } catch (const probe::ClientError& failure) {
      if (!MayPass(failure) || !options.is_retrying) throw;
      std::cerr << probe::PrintableLine(failure.what()) << "\n";
    }
    if (interrupted != 0) return true;
    std::this_thread::sleep_for(kRetry);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app("Subscribes to a topic of a probe and prints each message as one line.", "probe-watch");
    WatchOptions options;
    AddOptions(app, options);
    app.footer(kFooter);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return Print(probe::ExitFor(app, error, {argv + 1, argv + argc}));
    }
    // The handlers only leave a note, so that the connection is closed as the protocol has it.
    std::signal(SIGINT, [](int) { interrupted = 1; });
    std::signal(SIGTERM, [](int) { interrupted = 1; });
    return WatchOn(options) ? 0 : 1;
  } catch (const UsageError& error) {
    std::cerr << "probe-watch: " << probe::PrintableLine(error.what()) << "\n";
    return probe::kUnusable;
  } catch (const std::exception& failure) {
    std::cerr << "probe-watch: " << probe::PrintableLine(failure.what()) << "\n";
    return 1;
  }
}
