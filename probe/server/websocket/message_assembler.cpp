#include "probe/server/websocket/message_assembler.h"

#include <utility>

namespace probe {

MessageAssembler::State MessageAssembler::Add(std::string_view piece, bool is_binary, bool is_last) {
  if (is_refused_) {
    is_refused_ = !is_last;
    return State::kIncomplete;
  }
  if (is_binary) return Refuse(State::kBinary, is_last);
  if (piece.size() > max_bytes_ - text_.size()) return Refuse(State::kTooLarge, is_last);
  text_ += piece;
  return is_last ? State::kText : State::kIncomplete;
}

MessageAssembler::State MessageAssembler::Refuse(State why, bool is_last) {
  std::string().swap(text_);
  is_refused_ = !is_last;
  return why;
}

std::string MessageAssembler::Take() {
  return std::exchange(text_, std::string());
}

}  // namespace probe
