#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace probe {

/// Overwrites octets that were a secret, in a way that no optimiser leaves out.
void Wipe(void* octets, std::size_t count);
void Wipe(std::string& text);

/// A secret of the configuration. Copies share one text, which is wiped when the last of them goes.
///
/// Threads: any; the text never changes.
class Secret {
 public:
  Secret() = default;
  /// Takes the text over, and wipes what it was given in.
  Secret(std::string text);  // NOLINT(google-explicit-constructor): a setting is assigned like any other text
  Secret(const char* text) : Secret(std::string(text)) {}  // NOLINT(google-explicit-constructor)

  bool empty() const { return size() == 0; }
  std::size_t size() const { return text_ == nullptr ? 0 : text_->size(); }

  /// For those who need it as a text, and wipe their copy.
  const std::string& text() const;
  explicit operator std::string() const { return text(); }

  bool operator==(const Secret& other) const { return text() == other.text(); }

 private:
  std::shared_ptr<const std::string> text_;  // null: empty
};

}  // namespace probe
