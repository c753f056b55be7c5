#include <cxxabi.h>
#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// A shared library as it lies on disk, as far as its dynamic section tells of it. Source: elf(5).
class SharedLibrary {
 public:
  explicit SharedLibrary(const std::string& path) {
    image_.resize(static_cast<std::size_t>(std::filesystem::file_size(path)));
    std::ifstream(path, std::ios::binary).read(image_.data(), static_cast<std::streamsize>(image_.size()));
    const auto* header = At<ElfW(Ehdr)>(0);
    for (int index = 0; index < header->e_shnum; ++index) {
      const auto* section = At<ElfW(Shdr)>(header->e_shoff + static_cast<std::size_t>(index) * header->e_shentsize);
      const auto* linked = At<ElfW(Shdr)>(header->e_shoff + std::size_t{section->sh_link} * header->e_shentsize);
      if (section->sh_type == SHT_DYNSYM) ReadSymbols(*section, linked->sh_offset);
      if (section->sh_type == SHT_DYNAMIC) ReadNeeded(*section, linked->sh_offset);
    }
  }

  std::set<std::string> defined;    ///< Names of the symbols that it exports.
  std::set<std::string> undefined;  ///< Names of the symbols that somebody else has to supply.
  std::set<std::string> optional;   ///< Names of those that somebody else may supply: the weak ones.
  std::set<std::string> needed;     ///< Libraries that it is linked with.

 private:
  template <typename Record>
  const Record* At(std::size_t offset) const {
    return reinterpret_cast<const Record*>(image_.data() + offset);
  }
  void ReadSymbols(const ElfW(Shdr) & section, std::size_t names) {
    for (std::size_t offset = sizeof(ElfW(Sym)); offset < section.sh_size; offset += sizeof(ElfW(Sym))) {
      const auto* symbol = At<ElfW(Sym)>(section.sh_offset + offset);
      const char* name = At<char>(names + symbol->st_name);
      if (symbol->st_shndx != SHN_UNDEF) {
        defined.insert(name);
      } else {
        (ELF64_ST_BIND(symbol->st_info) == STB_WEAK ? optional : undefined).insert(name);
      }
    }
  }
  void ReadNeeded(const ElfW(Shdr) & section, std::size_t names) {
    for (std::size_t offset = 0; offset < section.sh_size; offset += sizeof(ElfW(Dyn))) {
      const auto* entry = At<ElfW(Dyn)>(section.sh_offset + offset);
      if (entry->d_tag == DT_NEEDED) needed.insert(At<char>(names + entry->d_un.d_val));
    }
  }

  std::vector<char> image_;
};

/// The name of a function as it is written, without parameters and tags.
std::string Written(const std::string& name) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status),
                                                         &std::free);
  const std::string demangled = status == 0 ? text.get() : name;
  return demangled.substr(0, demangled.find_first_of("[("));
}

class PluginSymbols : public ::testing::Test {
 protected:
  const SharedLibrary plugin{VEXORA_PLUGIN_FILE};
};

TEST_F(PluginSymbols, AreTheSevenEntryPointsAndNoEighth) {
  EXPECT_THAT(
      plugin.defined,
      UnorderedElementsAre(
          "RegisterMonitors", "stop_monitor", "_Z26get_wireless_client_reportPKc",
          "_Z37get_wireless_client_report_avail_listPKc", "_Z27get_wireless_network_reportPKc",
          "_Z38get_wireless_network_report_avail_listPKc",
          "_Z19GetInterfaceTrafficNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_RSt3mapIS4_ySt4lessIS4_"
          "ESaISt4pairIKS4_yEEE"));
}

TEST_F(PluginSymbols, OfTheHostAreLeftUndefined) {
  std::set<std::string> names;
  for (const std::string& name : plugin.undefined) names.insert(Written(name));
  for (const char* name :
       {"DeviceManager::GetInstance", "subscribes::SubscribesManager::GetInstance", "task_manager::StartTask",
        "task_manager::WaitTaskPool", "RegisterMonitorMemoryCleanup", "GetSalSendByCon",
        "kro_utilities::jsonobject::compose_communication_struct", "Strdup", "get_value_by_key_ex", "format_macaddress",
        "kro_utilities::string_con::IsInteger", "DeviceCredentialResultGet", "pel_log_debug", "pel_log_info",
        "pel_log_error", "time", "sleep"}) {
    EXPECT_THAT(names, Contains(name));
  }
}

TEST_F(PluginSymbols, OfTheHostThatItMayLeaveOutAreWeak) {
  EXPECT_THAT(plugin.optional, Contains("_Z24pel_log_is_debug_enabledv"));
}

TEST_F(PluginSymbols, ComeFromJsonCAndTheSystemOnly) {
  std::set<std::string> foreign;
  for (const std::string& library : plugin.needed) {
    const std::string stem = library.substr(0, library.find(".so"));
    // a sanitizer build links the sanitizer's runtime too
    if (!std::set<std::string>{"libjson-c", "libstdc++", "libm", "libgcc_s", "libc", "libasan", "libubsan", "libtsan"}
             .contains(stem) &&
        !stem.starts_with("ld-linux")) {
      foreign.insert(library);
    }
  }
  EXPECT_THAT(foreign, IsEmpty());
  EXPECT_THAT(plugin.needed, Contains("libjson-c.so.5"));
}

}  // namespace
