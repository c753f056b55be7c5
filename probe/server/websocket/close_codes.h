#pragma once

#include <cstdint>

namespace probe::close_code {

// Why a websocket is closed. Source: IANA, WebSocket Close Code Number Registry.
inline constexpr std::uint16_t kGoingAway = 1001;
inline constexpr std::uint16_t kProtocolError = 1002;
inline constexpr std::uint16_t kInvalidPayload = 1007;
inline constexpr std::uint16_t kPolicyViolation = 1008;
inline constexpr std::uint16_t kTryAgainLater = 1013;
inline constexpr std::uint16_t kGreatest = 4999;

}  // namespace probe::close_code
