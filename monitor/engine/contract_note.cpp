#include <elf.h>

#include <cstdint>

#include "platform/contract_version.h"

namespace {

/// A note as it lies in the file: its head, the owner's name filled up to a multiple of four octets, its content.
struct ContractNote {
  Elf32_Nhdr head;  // of the same fields in files of 64 bits
  char owner[8];    // NOLINT(modernize-avoid-c-arrays): std::array takes no text
  std::uint32_t version;
};
static_assert(sizeof(ContractNote) == 24, "a note has no gaps");

// AddressSanitizer would surround it with octets that are no note.
#ifdef __clang__
#define VEXORA_AS_IT_IS [[clang::no_sanitize("address")]]
#else
#define VEXORA_AS_IT_IS
#endif

// Nothing refers to it: "used" keeps it. The name of the section makes it a note; notes begin at multiples of four.
VEXORA_AS_IT_IS [[gnu::used, gnu::aligned(4), gnu::section(".note.vexora")]] constexpr ContractNote kContractNote{
    {sizeof VEXORA_CONTRACT_NOTE_OWNER, sizeof(std::uint32_t), VEXORA_CONTRACT_NOTE_TYPE},
    VEXORA_CONTRACT_NOTE_OWNER,
    VEXORA_CONTRACT_VERSION};

}  // namespace
