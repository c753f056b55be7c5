#include "probe/centre/stream_reader.h"

#include <chrono>
#include <exception>
#include <utility>
#include <vector>

#include "probe/host/log.h"

using utilities::lock::lock_guard;

namespace probe::centre {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kWait{500};  // how late a stop or a broken connection may be noticed
constexpr std::chrono::seconds kBetweenConnections{5};

}  // namespace

StreamReader::StreamReader(const StreamSettings& settings, Taker take) : settings_(settings), take_(std::move(take)) {
  StreamConnection::RequireUsable(settings);
}

StreamReader::~StreamReader() {
  Stop();
}

void StreamReader::Start() {
  thread_ = std::thread([this] { Run(); });
}

void StreamReader::Stop() {
  if (!thread_.joinable()) return;
  stop_.Set();
  if (const auto current = connection()) current->Close();
  thread_.join();
}

std::shared_ptr<StreamConnection> StreamReader::connection() const {
  const lock_guard held(lock_);
  return connection_;
}

bool StreamReader::is_reading() const {
  const lock_guard held(lock_);
  return is_reading_;
}

void StreamReader::Run() {
  while (!stop_.IsSetBefore({})) TryStep();
}

void StreamReader::TryStep() noexcept {
  // What a thread throws ends the process: a step is left out, and the next one begins anew.
  try {
    try {
      return Step();
    } catch (const std::exception& error) {
      NoteReading(false, error.what());
    }
  } catch (const std::exception& error) {
    log::Error("[Centre] %s", error.what());
  }
  stop_.IsSetBefore(steady_clock::now() + kWait);
}

void StreamReader::Step() {
  const auto current = OpenedConnection();
  if (current == nullptr || stop_.IsSetBefore({})) return;
  if (!current->IsConnected()) {
    NoteReading(false, current->WhyNotConnected());
    stop_.IsSetBefore(steady_clock::now() + kWait);
    return;
  }
  if (!current->is_subscribed()) current->Subscribe();
  std::vector<SiteText> texts;
  const Reading reading = current->Read(kWait, texts);
  for (SiteText& text : texts) take_(std::move(text));
  if (stop_.IsSetBefore({})) return;
  if (reading == Reading::kGoesOn) {
    if (current->has_read_all()) NoteReading(true, "");
    return;
  }
  current->Unsubscribe();
  NoteReading(false, current->IsConnected() ? "it broke off, and begins anew" : current->WhyNotConnected());
  // What breaks again and again is not made anew as fast as it can.
  stop_.IsSetBefore(steady_clock::now() + kWait);
}

std::shared_ptr<StreamConnection> StreamReader::OpenedConnection() {
  auto current = connection();
  if (current != nullptr && !current->IsOver()) return current;
  if (current != nullptr) {
    NoteReading(false, current->WhyNotConnected());
    if (stop_.IsSetBefore(steady_clock::now() + kBetweenConnections)) return nullptr;
  }
  current = std::make_shared<StreamConnection>(settings_);
  const lock_guard held(lock_);
  connection_ = current;
  return current;
}

void StreamReader::NoteReading(bool is_reading, const std::string& why) {
  {
    const lock_guard held(lock_);
    is_reading_ = is_reading;
  }
  if (told_ == why) return;
  told_ = why;
  if (is_reading) {
    log::Info("[Centre] the stream %s is read", settings_.name.c_str());
  } else {
    log::Warning("[Centre] the stream %s is not read: %s", settings_.name.c_str(), why.c_str());
  }
}

}  // namespace probe::centre
