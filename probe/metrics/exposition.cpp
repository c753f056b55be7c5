#include "probe/metrics/exposition.h"

#include <prometheus/text_serializer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <utility>

#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"

namespace probe::metrics {
namespace {

constexpr std::string_view kOpenMetricsType = "application/openmetrics-text";
constexpr std::string_view kTotal = "_total";

/// The value of a parameter of a media type, such as "q"; empty: it has none of this name.
std::string_view ParameterOf(std::string_view element, std::string_view name) {
  while (!element.empty()) {
    const std::size_t begin = element.find(';');
    if (begin == std::string_view::npos) return {};
    element.remove_prefix(begin + 1);
    std::string_view parameter = element.substr(0, element.find(';'));
    while (!parameter.empty() && parameter.front() == ' ') parameter.remove_prefix(1);
    while (!parameter.empty() && parameter.back() == ' ') parameter.remove_suffix(1);
    if (!parameter.starts_with(name) || parameter.substr(name.size(), 1) != "=") continue;
    return parameter.substr(name.size() + 1);
  }
  return {};
}

bool IsOpenMetrics(std::string_view element) {
  std::string_view type = element.substr(0, element.find(';'));
  while (!type.empty() && type.back() == ' ') type.remove_suffix(1);
  if (LowerCase(std::string(type)) != kOpenMetricsType) return false;
  const std::string_view version = ParameterOf(element, "version");
  const std::string_view quality = ParameterOf(element, "q");
  const bool is_refused = !quality.empty() && quality.find_first_not_of("0.") == std::string_view::npos;
  return !is_refused && (version.empty() || version == "1.0.0");
}

/// Takes `_total` from the name in the two lines in front of a counter's samples, which stand at `begin`: OpenMetrics
/// has it in the names of the samples only.
void NameAsOpenMetrics(std::string& text, std::size_t begin, const std::string& name) {
  const std::string short_name = name.substr(0, name.size() - kTotal.size());
  std::size_t at = begin;
  for (const std::string_view word : {"# HELP ", "# TYPE "}) {
    at = text.find(std::string(word) + name + " ", at);
    if (at == std::string::npos) return;
    text.replace(at + word.size(), name.size(), short_name);
  }
}

/// A stream's end that writes into one long text. The library writes values of labels octet by octet, and a string
/// stream takes twice as long for each.
class TextBuffer final : public std::streambuf {
 public:
  explicit TextBuffer(std::size_t expected_octets) : text_(expected_octets, '\0') {}

  std::size_t size() const { return size_; }

  /// What was written, once.
  std::string Take() {
    text_.resize(size_);
    return std::move(text_);
  }

 protected:
  std::streamsize xsputn(const char* octets, std::streamsize count) override {
    const auto length = static_cast<std::size_t>(count);
    if (text_.size() - size_ < length) text_.resize(std::max(2 * text_.size(), size_ + length));
    if (length == 1) {
      text_[size_] = *octets;
    } else {
      std::copy_n(octets, length, text_.begin() + static_cast<std::ptrdiff_t>(size_));
    }
    size_ += length;
    return count;
  }

  int_type overflow(int_type octet) override {
    if (traits_type::eq_int_type(octet, traits_type::eof())) return traits_type::not_eof(octet);
    const char written = traits_type::to_char_type(octet);
    xsputn(&written, 1);
    return octet;
  }

 private:
  std::string text_;
  std::size_t size_ = 0;
};

/// OpenMetrics has times in seconds, the classic format in milliseconds, which is what the library writes.
void TimeAsOpenMetrics(prometheus::MetricFamily& family) {
  constexpr std::int64_t kMilliseconds = 1000;
  for (prometheus::ClientMetric& sample : family.metric) sample.timestamp_ms /= kMilliseconds;
}

/// About as many octets as the families will have, so that the text need not grow.
std::size_t OctetsOf(const std::vector<prometheus::MetricFamily>& families) {
  constexpr std::size_t kOfSample = 128;
  std::size_t samples = 64;
  for (const prometheus::MetricFamily& family : families) samples += family.metric.size();
  return kOfSample * samples;
}

}  // namespace

Format FormatFor(const std::string& accept) {
  for (const std::string_view element : ListElements(accept)) {
    if (IsOpenMetrics(element)) return Format::kOpenMetrics;
  }
  return Format::kText;
}

const char* ContentTypeOf(Format format) {
  return format == Format::kOpenMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                        : "text/plain; version=0.0.4; charset=utf-8";
}

std::string Serialise(std::vector<prometheus::MetricFamily> families, Format format) {
  const prometheus::TextSerializer serialiser;
  TextBuffer buffer(OctetsOf(families));
  std::ostream out(&buffer);
  std::vector<std::pair<std::size_t, std::string>> counters;  // where the families begin that are to be renamed
  std::vector<prometheus::MetricFamily> one(1);
  for (prometheus::MetricFamily& family : families) {
    if (family.type == prometheus::MetricType::Counter) counters.emplace_back(buffer.size(), family.name);
    one.front() = std::move(family);
    if (format == Format::kOpenMetrics) TimeAsOpenMetrics(one.front());
    serialiser.Serialize(out, one);
  }
  std::string text = buffer.Take();
  if (format != Format::kOpenMetrics) return text;
  // From the end, so that the places before stay where they are.
  std::ranges::reverse(counters);
  for (const auto& [place, name] : counters) NameAsOpenMetrics(text, place, name);
  return text += "# EOF\n";
}

}  // namespace probe::metrics
