#include "probe/app/token_command.h"

#include <sys/random.h>

#include <array>
#include <cstddef>
#include <string>

#include "probe/text/secret.h"

namespace probe {
namespace {

constexpr std::size_t kOctets = 32;
constexpr unsigned kBitsADigit = 6;

}  // namespace

int PrintToken(std::ostream& out, std::ostream& errors) {
  std::array<unsigned char, kOctets> random{};
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    errors << "the system gives no random numbers\n";
    return 1;
  }
  // Source: RFC 4648, section 5, without padding.
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string token;
  unsigned bits = 0;
  unsigned count = 0;
  for (const unsigned char octet : random) {
    bits = (bits << 8 | octet) & 0x3fff;  // no more than 13 bits are left over
    for (count += 8; count >= kBitsADigit; count -= kBitsADigit) token += kDigits[bits >> (count - kBitsADigit) & 63];
  }
  if (count > 0) token += kDigits[bits << (kBitsADigit - count) & 63];
  out << token << "\n";
  Wipe(token);
  Wipe(random.data(), random.size());
  return 0;
}

}  // namespace probe
