#pragma once

#include <prometheus/metric_family.h>

#include <string>
#include <vector>

namespace probe::metrics {

/// The two formats in which metrics are told.
enum class Format {
  kText,        ///< The classic text format, version 0.0.4: what a client gets that asks for nothing else.
  kOpenMetrics  ///< OpenMetrics, version 1.0.0.
};

/// The format for a client with this Accept header: OpenMetrics where it names that.
/// Source: RFC 9110, section 12.5.1; qualities are looked at only as far as 0 refuses.
Format FormatFor(const std::string& accept);

const char* ContentTypeOf(Format format);

/// The families as text. Each counter's name ends with `_total`.
std::string Serialise(std::vector<prometheus::MetricFamily> families, Format format);

}  // namespace probe::metrics
