// The texts of many sites, without probes: what a stream, its servers and a centre bear.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <numeric>
#include <string>
#include <vector>

#include "bench/fleet/site_load.h"
#include "probe/uplink/spool.h"

namespace {

void Print(const bench::LoadResult& result, const std::vector<probe::uplink::SpooledMessage>& texts) {
  const auto octets = std::accumulate(texts.begin(), texts.end(), std::size_t{0},
                                      [](std::size_t sum, const auto& text) { return sum + text.text.size(); });
  const double seconds = std::chrono::duration<double>(result.took).count();
  const auto [count, size] = std::pair(static_cast<double>(result.texts), static_cast<double>(result.octets));
  std::printf("a pass of a site     %zu texts of %zu octets\n", texts.size(), octets);
  std::printf("stored               %.0f texts, %.1f a second; %.0f octets a second\n", count, count / seconds,
              size / seconds);
  std::printf("not stored in time   %llu texts\n", static_cast<unsigned long long>(result.failed));
  std::printf("a pass is stored in  %.1f ms (half of them), %.1f ms (99 %%), %.1f ms (all)\n",
              bench::Quantile(result.pass_ms, 0.5), bench::Quantile(result.pass_ms, 0.99),
              bench::Quantile(result.pass_ms, 1));
  std::printf("it begins late by    %.1f ms (99 %%)\n", bench::Quantile(result.late_ms, 0.99));
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  constexpr double kNano = 1e-9;
  std::printf("this program         %.2f s of a processor\n",
              static_cast<double>(used.tv_sec) + kNano * static_cast<double>(used.tv_nsec));
}

int Run(int argc, char** argv) {
  bench::LoadSettings settings;
  CLI::App app("Sends the newest texts of one site as those of many others, pass by pass, and says what came of it.");
  app.add_option("--server", settings.login.servers, "URL of a NATS server, as often as there are servers")->required();
  app.add_option("--stream", settings.stream, "The stream. Default: VEXORA");
  app.add_option("--like", settings.like, "The site whose texts are sent")->required();
  app.add_option("--sites", settings.sites, "How many sites send them")->check(CLI::Range(1, 10'000));
  app.add_option("--passes", settings.passes, "How many passes of each")->check(CLI::Range(1, 100'000));
  std::size_t pace = 60;
  app.add_option("--pace", pace, "Seconds between two passes of a site")->check(CLI::Range(1, 3600));
  CLI11_PARSE(app, argc, argv);
  settings.pace = std::chrono::seconds(pace);
  const auto texts = bench::NewestTexts(settings);
  const auto result = bench::RunLoad(settings, texts, [] {
    std::puts("all sites are connected");
    std::fflush(stdout);
  });
  Print(result, texts);
  return result.failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "fleet-load: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
