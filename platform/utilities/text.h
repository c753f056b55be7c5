#pragma once

#include <string>
#include <vector>

/// Duplicates a text for a caller outside C++, as the report entry points return it. The plug-in calls the host.
///
/// Owner:   `text` stays the caller's. Whoever gets the result frees it with `free`.
/// Threads: any.
/// Fails:   a null `text` gives a null result; so does an exhausted heap.
char* Strdup(const char* text);

/// The parts of `text` between the separators, in order. The plug-in calls the host.
///
/// Empty parts are kept: splitting "a||b" at "|" gives "a", "" and "b", and splitting "" gives one empty part. A
/// separator may have several characters.
///
/// Threads: any, also with the plug-in's locks held: it waits for nobody.
/// Fails:   never; an empty `separator` gives the whole text as the only part.
std::vector<std::string> split(const std::string& text, const std::string& separator);

/// A MAC in the one notation in which MACs are compared: twelve upper-case hex digits in pairs, joined by colons. The
/// plug-in calls the host.
///
/// Twelve hex digits are accepted with any of ":", "-" and "." between them, or nothing.
///
/// Threads: any, also with the plug-in's locks held: it waits for nobody.
/// Fails:   a text that is not a MAC comes back unchanged.
/// Source:  IEEE Std 802-2014, 8.1 (hexadecimal representation).
std::string format_macaddress(const std::string& mac);

namespace kro_utilities::string_con {

/// Whether the text is a whole number: decimal digits with an optional leading sign, and nothing else. The plug-in
/// calls the host.
///
/// The empty text and a lone sign are no numbers; a number of any length is one.
///
/// Threads: any, also with the plug-in's locks held: it waits for nobody.
/// Fails:   never.
bool IsInteger(const std::string& text);

}  // namespace kro_utilities::string_con
