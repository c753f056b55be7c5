#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace probe {

/// Joins the pieces in which a message comes in, up to a limit.
///
/// Of a message that is refused nothing is kept: the rest of it is swallowed as it comes, and the next message is read
/// as if nothing had been.
/// Threads: the server thread only.
class MessageAssembler {
 public:
  enum class State {
    kIncomplete,  ///< More is to come, or the rest of a refused message was swallowed.
    kText,        ///< A text message is complete: `Take` it.
    kBinary,      ///< It is binary, which is refused. Said once a message.
    kTooLarge     ///< It is over the limit, and refused. Said once a message.
  };

  explicit MessageAssembler(std::size_t max_bytes) : max_bytes_(max_bytes) {}

  /// Takes in the next piece. `is_last`: the message ends with it.
  State Add(std::string_view piece, bool is_binary, bool is_last);

  /// The complete message, once.
  std::string Take();

 private:
  State Refuse(State why, bool is_last);

  std::size_t max_bytes_;
  std::string text_;
  bool is_refused_ = false;
};

}  // namespace probe
