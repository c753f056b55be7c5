#include "monitor/clientcount/client_count_show.h"

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "monitor/engine/json_keys.h"

namespace monitoring::clientcount {

void AppendSamples(std::string& text, const Series& series) {
  // A message may hold hundreds of thousands of samples, so each is put together in a buffer and appended at once.
  constexpr std::size_t kRoom = 48;  // punctuation and two numbers of 32 bits
  constexpr std::size_t kMaxDigits = 11;
  std::array<char, kRoom> buffer{};
  text += '{';
  std::string_view before = " \"";
  for (const auto& [minute, count] : series) {
    char* end = buffer.data();
    const auto put = [&end](std::string_view part) {
      std::memcpy(end, part.data(), part.size());
      end += part.size();
    };
    put(before);
    end = std::to_chars(end, end + kMaxDigits, minute).ptr;
    put("\": ");
    end = std::to_chars(end, end + kMaxDigits, count).ptr;
    text.append(buffer.data(), end);
    before = ", \"";
  }
  text += " }";
}

void SeriesWriter::Add(const std::string& id, const std::string& samples) {
  object_.Begin(id);
  if (std::strcmp(id.c_str(), sum_key_) == 0) {
    namesake_ = text_.size();
    namesake_length_ = samples.size();
  }
  text_ += samples;
}

void SeriesWriter::Close(const Totals& totals) {
  if (namesake_length_ == 0) {
    object_.Begin(sum_key_);
    AppendSamples(text_, totals);
  } else {
    std::string sum;
    AppendSamples(sum, totals);
    text_.replace(namesake_, namesake_length_, sum);
  }
  object_.Close();
}

namespace {

void AppendCount(std::string& text, std::int32_t count) {
  ObjectWriter object(text);
  object.Begin(json_key::kCount);
  AppendInteger(text, count);
  object.Close();
}

}  // namespace

std::string CurrentSsidsText(const CountById& counts) {
  std::string text;
  ObjectWriter ssids(text);
  for (const auto& [ssid, count] : counts) {
    ssids.Begin(ssid);
    AppendCount(text, count);
  }
  ssids.Close();
  return text;
}

std::string CurrentDevicesText(const CurrentCounts& counts) {
  std::string text;
  ObjectWriter devices(text);
  for (const auto& [mac, counts_by_ssid] : counts) {
    devices.Begin(mac);
    ObjectWriter ssids(text);
    for (const auto& [ssid, current] : counts_by_ssid) {
      ssids.Begin(ssid);
      ObjectWriter object(text);
      object.Begin(json_key::kSsid);
      AppendQuoted(text, ssid);
      object.Begin(json_key::kCount);
      AppendInteger(text, current.count);
      object.Close();
    }
    ssids.Close();
  }
  devices.Close();
  return text;
}

}  // namespace monitoring::clientcount
