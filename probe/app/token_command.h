#pragma once

#include <ostream>

namespace probe {

/// Prints a token that nobody guesses, 256 random bits, as one line of letters, digits, "-" and "_". Returns the exit
/// code.
int PrintToken(std::ostream& out, std::ostream& errors);

}  // namespace probe
