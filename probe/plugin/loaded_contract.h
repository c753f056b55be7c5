#pragma once

#include <cstdint>
#include <optional>

namespace probe {

/// The version of the contract that a loaded library says it was built for; nothing: it carries no such note.
///
/// `library` is what `dlopen` gave. Nothing of the library is called. Threads: any.
/// Source: dl_iterate_phdr(3), elf(5), platform/contract_version.h.
std::optional<std::uint32_t> ContractVersionOf(void* library);

}  // namespace probe
