#pragma once

#include <cstdint>
#include <string>

namespace test {

/// Writes a file of this size, with content that is not all the same.
void WriteLargeFile(const std::string& path, std::uint64_t octets);

/// Sends a file from one thread to another over a TCP connection on the loopback. Returns how many octets arrived.
///
/// Fails: throws `std::runtime_error`.
std::uint64_t TransferOverLoopback(const std::string& path);

}  // namespace test
