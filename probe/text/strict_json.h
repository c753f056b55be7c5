#pragma once

#include <string>

namespace probe {

/// A JSON text as the library of the plug-in writes it, made fit for every reader: numbers that are none (NaN,
/// Infinity), for which JSON has no notation, become null, and what is not UTF-8 becomes U+FFFD.
///
/// Source: RFC 8259, sections 6 and 8.1.
std::string StrictJson(std::string text);

}  // namespace probe
