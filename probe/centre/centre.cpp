#include "probe/centre/centre.h"

#include <ctime>
#include <utility>

#include "probe/api/page_files.h"
#include "probe/centre/site_text.h"
#include "probe/host/log.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/text/url_host.h"
#include "probe/version/version.h"

namespace probe::centre {
namespace {

// More than may wait for sites.
constexpr std::size_t kWorkers = SiteAnswerer::kMaxQuestionsToAll + 8;

}  // namespace

Centre::Centre(CentreSettings settings, ServerSettings server, std::function<void()> on_failure)
    : server_settings_(std::move(server)),
      days_(settings.stream.days),
      pages_(server_settings_.dashboard.empty() ? DefaultPageFolder() : server_settings_.dashboard),
      reader_(settings.stream, [this](SiteText text) { Take(std::move(text)); }),
      answerer_(sites_, [this] { return reader_.connection(); }),
      metrics_(sites_, server_, [this] { return Figures(); }),
      api_(
          std::move(settings.groups), sites_, answerer_, PageFiles(pages_), [this] { return reader_.is_reading(); },
          [this](const HttpRequest& request) { return metrics_.Answer(request); }),
      subscriptions_(SubscriptionService::Instance(), answerer_),
      server_(server_settings_, SubscriptionService::Instance(), Service(),
              [on_failure = std::move(on_failure)](const std::string&) {
                if (on_failure) on_failure();
              }) {}

Centre::~Centre() {
  Stop();
}

HttpService Centre::Service() {
  HttpService service;
  service.workers = kWorkers;
  service.look_up = [this](const std::string& path) { return api_.LookUp(path); };
  service.answer = [this](const HttpRequest& request) { return api_.Answer(request); };
  service.topics_at = [this](const std::string& path, const std::string& holder) {
    return api_.TopicsAt(path, holder);
  };
  return service;
}

CentreFigures Centre::Figures() const {
  return {.version = kVersion,
          .is_reading = reader_.is_reading(),
          .kept_texts = kept_texts_,
          .dropped_texts = dropped_texts_,
          .questions = answerer_.counts()};
}

void Centre::Take(SiteText text) {
  const std::string site = text.site;
  const std::string topic = text.topic;
  const bool is_new = !sites_.Has(site);
  const bool is_kept = sites_.Put(std::move(text));
  ++(is_kept ? kept_texts_ : dropped_texts_);
  if (!is_kept) return;
  if (is_new) log::Info("[Centre] site %s", site.c_str());
  subscriptions_.OnText(site, topic);
  ForgetOldSites();
}

void Centre::ForgetOldSites() {
  const time_t now = time(nullptr);
  constexpr time_t kHour = 3600;
  if (now - looked_at_ < kHour) return;
  looked_at_ = now;
  sites_.ForgetUnheardSince(now - days_ * 24 * kHour);
}

void Centre::Start() {
  log::Info("vexora-centre %s starts", kVersionText);
  server_.Start();
  reader_.Start();
  Announce();
}

void Centre::Announce() const {
  const bool has_tls = !server_settings_.tls_certificate.empty();
  for (const std::string& address : server_.addresses())
    log::Info("listening on %s://%s:%u/", has_tls ? "https" : "http", UrlHost(address).c_str(),
              static_cast<unsigned>(server_.port()));
  if (!api_.has_pages()) log::Info("there is no dashboard in %s: its address answers with 503", pages_.c_str());
}

void Centre::Stop() {
  // First the connection: a request that waits for a site would hold the server up.
  reader_.Stop();
  server_.Stop();
  subscriptions_.Stop();
  SubscriptionService::Instance().Clear();
}

}  // namespace probe::centre
