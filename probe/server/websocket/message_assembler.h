#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace probe {

/// Joins the pieces in which a message comes in, up to a limit.
///
/// Of a message that is refused nothing is kept: the rest of it is dropped as it comes, and the next one is read as
/// usual. Threads: the event loop only.
class MessageAssembler {
 public:
  enum class State {
    kIncomplete,  ///< More is to come, or the rest of a refused message was dropped.
    kText,        ///< A text message is complete: `Take` it.
    kBinary,      ///< It is binary, which is refused. Said once a message.
    kTooLarge     ///< It is over the limit, and refused. Said once a message.
  };

  explicit MessageAssembler(std::size_t max_bytes) : max_bytes_(max_bytes) {}

  /// Takes in the next piece. `is_last`: the message ends with it.
  State Add(std::string_view piece, bool is_binary, bool is_last) {
    if (is_refused_) {
      is_refused_ = !is_last;
      return State::kIncomplete;
    }
    const bool is_too_large = piece.size() > max_bytes_ - text_.size();
    if (is_binary || is_too_large) {
      std::string().swap(text_);
      is_refused_ = !is_last;
      return is_binary ? State::kBinary : State::kTooLarge;
    }
    text_ += piece;
    return is_last ? State::kText : State::kIncomplete;
  }

  /// The complete message, once.
  std::string Take() { return std::exchange(text_, std::string()); }

 private:
  std::size_t max_bytes_;
  std::string text_;
  bool is_refused_ = false;
};

}  // namespace probe
