#include "probe/plugin/loaded_contract.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <cstddef>
#include <cstring>
#include <string_view>

#include "platform/contract_version.h"

namespace probe {
namespace {

/// The library that is looked for, and what was found of it.
struct Search {
  ElfW(Addr) base = 0;
  std::optional<std::uint32_t> version;
};

/// Names and contents of notes begin at multiples of four octets.
constexpr std::size_t Padded(std::size_t size) {
  return (size + 3) / 4 * 4;
}

/// The content of our note in a segment of notes.
std::optional<std::uint32_t> VersionIn(std::string_view notes) {
  constexpr std::string_view kOwner(VEXORA_CONTRACT_NOTE_OWNER, sizeof VEXORA_CONTRACT_NOTE_OWNER);
  ElfW(Nhdr) head{};
  while (notes.size() >= sizeof head) {
    std::memcpy(&head, notes.data(), sizeof head);
    notes.remove_prefix(sizeof head);
    const std::size_t name_size = Padded(head.n_namesz);
    const std::size_t size = name_size + Padded(head.n_descsz);
    if (size > notes.size()) break;
    std::uint32_t version = 0;
    if (head.n_type == VEXORA_CONTRACT_NOTE_TYPE && notes.substr(0, head.n_namesz) == kOwner &&
        head.n_descsz == sizeof version) {
      std::memcpy(&version, notes.data() + name_size, sizeof version);
      return version;
    }
    notes.remove_prefix(size);
  }
  return std::nullopt;
}

/// Looks at one of the loaded libraries; 0: at the next one, too.
int LookAt(dl_phdr_info* info, std::size_t /*size*/, void* data) {
  auto& search = *static_cast<Search*>(data);
  if (info->dlpi_addr != search.base) return 0;
  for (ElfW(Half) index = 0; index < info->dlpi_phnum && !search.version; ++index) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[index];
    if (segment.p_type != PT_NOTE) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives addresses as numbers
    const auto* begin = reinterpret_cast<const char*>(info->dlpi_addr + segment.p_vaddr);
    search.version = VersionIn({begin, segment.p_memsz});
  }
  return 1;
}

}  // namespace

std::optional<std::uint32_t> ContractVersionOf(void* library) {
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) return std::nullopt;
  Search search{map->l_addr, std::nullopt};
  dl_iterate_phdr(&LookAt, &search);
  return search.version;
}

}  // namespace probe
