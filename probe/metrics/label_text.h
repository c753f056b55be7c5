#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace probe::metrics {

/// The longest value of a label, in octets, mark included.
inline constexpr std::size_t kMaxLabelOctets = 128;

/// A text from a device or from the air as the value of a label: UTF-8 without control characters, of bounded length.
///
/// A text that cannot stay as it is ends with a mark made of all of it: "~" and eight hexadecimal digits. So two that
/// differ are hardly ever one and the same label.
std::string LabelText(std::string_view text);

}  // namespace probe::metrics
