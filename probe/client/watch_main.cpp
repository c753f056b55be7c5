// probe-watch: subscribes to a topic of a probe and prints what comes, one message a line.

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstddef>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "probe/client/url.h"
#include "probe/client/websocket_client.h"
#include "probe/text/json_text.h"
#include "probe/text/utf8.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

// How soon an interrupt is noticed.
constexpr std::chrono::milliseconds kPatience{200};

/// What somebody typed after `probe-watch`.
struct WatchOptions {
  std::string url = "ws://127.0.0.1:8765";
  std::string token;
  std::string certificate;
  std::string topic;
  std::string request = R"([{"sid":"watch","filter":{}}])";
  std::size_t count = 0;  ///< 0: until interrupted.
};

void AddOptions(CLI::App& app, WatchOptions& options) {
  app.add_option("--url", options.url, "Where the probe is")->capture_default_str();
  app.add_option("--token", options.token, "Token of the probe");
  app.add_option("--certificate", options.certificate, "PEM file of the probe's certificate, for wss");
  app.add_option("--count", options.count, "End after so many messages; 0: go on until interrupted")
      ->capture_default_str();
  app.add_option("TOPIC", options.topic, "Topic to subscribe to, such as TrafficMonitor")->required();
  app.add_option("REQUEST-JSON", options.request, "Array of what to subscribe to")->capture_default_str();
}

/// Prints messages; true when all went as it should.
///
/// Names in what a probe sends come from the air, and may hold control characters: none of them reaches the terminal.
bool Watch(const WatchOptions& options) {
  probe::ClientOptions connection = probe::OptionsFromUrl(options.url);
  connection.trusted_certificate = options.certificate;
  if (!options.token.empty()) connection.headers["Authorization"] = "Bearer " + options.token;
  probe::WebsocketClient client(connection);
  client.SendText(R"({"subscribe":{"topic":)" + probe::Dump(nlohmann::json(options.topic)) + R"(,"request":)" +
                  options.request + "}}");
  std::size_t messages = 0;
  while (interrupted == 0 && (options.count == 0 || messages < options.count)) {
    const auto text = client.Receive(kPatience);
    if (const auto reason = client.close_reason()) {
      std::cerr << "the probe closed the connection: " << reason->code << " " << probe::PrintableLine(reason->text)
                << "\n";
      return false;
    }
    if (!text) continue;
    if (text->rfind(R"({"error":)", 0) == 0) {
      std::cerr << probe::PrintableJson(*text) << "\n";
      return false;
    }
    if (text->rfind(R"({"subscribed":)", 0) == 0) continue;
    // Flushed each time: who reads from a pipe wants a message when it comes.
    std::cout << probe::PrintableJson(*text) << std::endl;
    ++messages;
  }
  client.Close();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app("Subscribes to a topic of a probe and prints each message as one line.", "probe-watch");
    WatchOptions options;
    AddOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    // The handlers only leave a note, so that the connection is closed as the protocol has it.
    std::signal(SIGINT, [](int) { interrupted = 1; });
    std::signal(SIGTERM, [](int) { interrupted = 1; });
    return Watch(options) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::cerr << "probe-watch: " << probe::PrintableLine(failure.what()) << "\n";
    return 1;
  }
}
