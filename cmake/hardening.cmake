# Binaries that make an exploit harder, as the release preset and packagers ask for it. Packages of a distribution get
# the same from its own flags, so the option is off elsewhere.

option(VEXORA_HARDEN "Compile and link with the compiler's defences against exploits" OFF)

if(VEXORA_HARDEN)
  include(CheckCXXCompilerFlag)
  include(CheckPIESupported)
  check_pie_supported()
  # The last is of x86, the one before of 64-bit ARM.
  foreach(flag -fstack-protector-strong -fstack-clash-protection -mbranch-protection=standard -fcf-protection=full)
    string(MAKE_C_IDENTIFIER "VEXORA_HAS${flag}" has_flag)
    check_cxx_compiler_flag(${flag} ${has_flag})
    if(${has_flag})
      string(APPEND CMAKE_CXX_FLAGS " ${flag}")
    endif()
  endforeach()
  # For code that is optimised only: the library warns of it elsewhere.
  string(APPEND CMAKE_CXX_FLAGS_RELEASE " -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2")
  string(APPEND CMAKE_CXX_FLAGS_RELWITHDEBINFO " -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2")
  # Code of a static library ends in a program, which may lie anywhere in memory.
  add_compile_options($<$<NOT:$<BOOL:$<TARGET_PROPERTY:POSITION_INDEPENDENT_CODE>>>:-fPIE>)
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
