// Scrapes and questions of people while everything that they tell of changes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "platform/device_records.h"
#include "probe/api/device_answers.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_details.h"
#include "probe/host/subscription_service.h"
#include "probe/metrics/metrics.h"
#include "probe/metrics/probe_families.h"
#include "probe/server/http/http_message.h"
#include "probe/server/web_server.h"

namespace {

namespace records = vexora_probe::models::controller;
using ::testing::HasSubstr;

constexpr int kRounds = 200;
constexpr std::array kDevices{"02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03"};

/// A reading of an access point, each with other octets, another client and another notification than the one before.
probe::DeviceSnapshot Reading(int round) {
  const auto octets = static_cast<std::uint64_t>(round);
  probe::DeviceSnapshot snapshot;
  snapshot.is_wireless = true;
  snapshot.sample_time = round;
  snapshot.details.notifications = {
      {.severity = probe::Severity::kAlert, .text = "alert " + std::to_string(round), .since = round}};
  auto port = std::make_shared<records::InterfaceState>();
  port->traffic = std::make_shared<records::TrafficStats>(records::TrafficStats{1, octets, octets});
  snapshot.interfaces["lan1"] = std::move(port);
  records::AssocClientState client;
  client.mac = "02:00:00:00:01:0" + std::to_string(round % 10);
  client.in_bytes = octets;
  snapshot.ssid_interfaces["wlan0"].ssid = "Office";
  snapshot.ssid_interfaces["wlan0"].clients.push_back(client);
  return snapshot;
}

/// What a source does: readings, and now and then a device that is removed.
void Change(probe::DeviceCentre& centre) {
  for (int round = 1; round <= kRounds; ++round) {
    for (const char* const device : kDevices) centre.Replace(device, Reading(round));
    if (round % 16 == 0) centre.Forget(kDevices.back());
  }
}

TEST(ScrapingTest, GivesWholeAnswersWhileDevicesAndPassesChange) {
  probe::DeviceCentre centre;
  const probe::WebServer server({}, probe::SubscriptionService::Instance());
  std::atomic<int> passes{0};
  const probe::metrics::Metrics metrics(centre, &server, [&] {
    probe::metrics::ProbeFigures figures;
    figures.last_pass = passes.load();
    return figures;
  });
  centre.Replace(kDevices.front(), Reading(0));
  std::atomic<bool> is_over{false};
  std::atomic<int> answers{0};
  const auto ask = [&](const std::function<void()>& question) {
    do {
      question();
      ++answers;
    } while (!is_over.load());
  };
  const auto scrape = [&](const std::string& accept) {
    probe::HttpRequest request;
    request.accept = accept;
    const std::string text = *metrics.Answer(request).body;
    EXPECT_THAT(text, HasSubstr("vexora_device_up{device=\"02:00:00:00:00:01\"} 1\n"));
    EXPECT_TRUE(text.ends_with(accept.empty() ? "\n" : "# EOF\n"));
  };
  const auto list = [&](probe::HttpAnswer (*answer)(probe::DeviceCentre&, const probe::HttpRequest&), const char* of) {
    const auto told = nlohmann::json::parse(*answer(centre, {}).body);
    EXPECT_FALSE(told.at(of).empty());
  };
  std::vector<std::thread> threads;
  threads.emplace_back([&] { ask([&] { scrape(""); }); });
  threads.emplace_back([&] { ask([&] { scrape("application/openmetrics-text;version=1.0.0"); }); });
  threads.emplace_back([&] { ask([&] { list(probe::ClientsAnswer, "clients"); }); });
  threads.emplace_back([&] { ask([&] { list(probe::NotificationsAnswer, "notifications"); }); });
  std::thread engine([&] {
    do {
      // As the engine asks in a pass.
      for (const std::string& mac : centre.GetOnlineManagedDevices(true)) centre.device(mac);
      ++passes;
    } while (!is_over.load());
  });
  Change(centre);
  is_over.store(true);
  engine.join();
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(answers.load(), 4);
  EXPECT_GT(passes.load(), 0);
}

}  // namespace
