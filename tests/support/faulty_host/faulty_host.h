#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace test {

/// What a host may do wrong, or just late, in one of its answers.
enum class FaultKind : std::uint8_t {
  kNull,       ///< Null, or null inside the answer.
  kEmpty,      ///< Nothing known: an empty text, list or record.
  kError,      ///< It has no memory for the answer; a task is refused.
  kLate,       ///< Five seconds pass by the host's clock.
  kVanishing,  ///< The device is gone when the answer is given.
  kNonsense,   ///< Numbers at the ends of what they can be, not-a-number, texts far too long.
};

/// A call of the contract that can be answered wrong, and in which ways.
struct FaultyCall {
  std::string name;
  std::vector<FaultKind> kinds;
  bool is_of_device = true;  ///< Only the answers about some devices are wrong: those about others are not.
};

/// All of them.
const std::vector<FaultyCall>& FaultyCalls();

const char* NameOf(FaultKind kind);

/// The one device about which a faulty host answers right.
inline constexpr const char* kHealthyMac = "AA:AA:AA:AA:AA:02";

/// Makes the host answer one call wrong for as long as it lives. One at a time.
///
/// Needs the library `test_faulty_host`, which stands between the monitors and the host. What a caller asks for on
/// another thread is answered right.
class HostFault {
 public:
  /// `is_late` is called for `kLate`, `is_gone` for `kVanishing` with the device; an empty MAC names no device.
  HostFault(std::string call, FaultKind kind, std::function<void()> is_late,
            std::function<void(const std::string& mac)> is_gone);
  ~HostFault();
  HostFault(const HostFault&) = delete;
  HostFault& operator=(const HostFault&) = delete;

  /// How many answers were wrong.
  int hits() const;
};

/// Has the host run no task, and notes what a start asks of it: the topics that get a subscriber, "start", "clean-up".
/// One at a time.
class NotedStart {
 public:
  /// `answer` is that of `StartTask`.
  explicit NotedStart(int answer);
  ~NotedStart();
  NotedStart(const NotedStart&) = delete;
  NotedStart& operator=(const NotedStart&) = delete;

  static const std::vector<std::string>& Noted();
};

}  // namespace test
