#include "probe/text/secret.h"

#include <cstring>

namespace probe {

void Wipe(void* octets, std::size_t count) {
  explicit_bzero(octets, count);
}

void Wipe(std::string& text) {
  // Up to its capacity: a short text keeps the end of a longer one.
  text.resize(text.capacity());
  Wipe(text.data(), text.size());
  text.clear();
}

Secret::Secret(std::string text) {
  if (!text.empty()) {
    // Without a reallocation, which would leave a copy behind.
    text_ = std::shared_ptr<const std::string>(new std::string(text), [](const std::string* owned) {
      Wipe(const_cast<std::string&>(*owned));
      delete owned;
    });
  }
  Wipe(text);
}

const std::string& Secret::text() const {
  static const std::string none;
  return text_ == nullptr ? none : *text_;
}

}  // namespace probe
