# Warnings, sanitizers, precompiled headers and ccache for every target of the project.
#
# Plain `cmake -DCMAKE_BUILD_TYPE=Release` is for those who package: warnings are shown, and nothing else is asked for.
# The presets turn on what the developers of the project want.

option(VEXORA_WERROR "Treat warnings as errors" OFF)
option(VEXORA_PCH "Precompile the headers of the test and JSON libraries: quicker, but hides includes that are missing" OFF)
set(VEXORA_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
option(VEXORA_COVERAGE "Count which lines and branches run (clang only)" OFF)
option(VEXORA_FUZZ "Build the fuzz targets (clang only)" OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  # Paths below the project are cached relative to it, so that a clone elsewhere finds what another one compiled.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_DEPEND=1
      CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
endif()

add_library(vexora_compiler INTERFACE)
target_compile_features(vexora_compiler INTERFACE cxx_std_20)
target_compile_options(vexora_compiler INTERFACE -Wall -Wextra -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(vexora_compiler INTERFACE -fno-gnu-unique)
  if(VEXORA_PCH)
    # Without it ccache does not see the precompiled header in what the preprocessor prints.
    target_compile_options(vexora_compiler INTERFACE -fpch-preprocess)
  endif()
else()
  target_compile_options(vexora_compiler INTERFACE -Wthread-safety)
  if(VEXORA_PCH)
    # Else two equal builds differ by the time in their precompiled headers, and ccache finds nothing.
    target_compile_options(vexora_compiler INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endif()
if(VEXORA_WERROR)
  target_compile_options(vexora_compiler INTERFACE -Werror)
endif()
if(VEXORA_SANITIZE)
  target_compile_options(vexora_compiler INTERFACE -fsanitize=${VEXORA_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(vexora_compiler INTERFACE -fsanitize=${VEXORA_SANITIZE})
  if(VEXORA_SANITIZE MATCHES "undefined")
    target_compile_options(vexora_compiler INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()
if(VEXORA_COVERAGE)
  target_compile_options(vexora_compiler INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(vexora_compiler INTERFACE -fprofile-instr-generate)
endif()
if(VEXORA_FUZZ)
  # No fuzz target holds a test, and what counts the branches that were taken is a third of the time to compile one.
  define_property(TARGET PROPERTY VEXORA_IS_TEST INITIALIZE_FROM_VARIABLE VEXORA_IS_TEST)
  target_compile_options(vexora_compiler INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VEXORA_IS_TEST>>>:-fsanitize=fuzzer-no-link>)
endif()
target_include_directories(vexora_compiler INTERFACE ${PROJECT_SOURCE_DIR})
