# One pattern for all targets: a library is a folder, a program is one file with a main beside it.

# Every source of these folders, but those of programs and of tests.
function(vexora_sources variable)
  set(sources)
  foreach(folder ${ARGN})
    file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND sources ${found})
  endforeach()
  list(FILTER sources EXCLUDE REGEX "/([a-z]+_)?main\\.cpp$|_test\\.cpp$")
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# A library of the sources in this folder: vexora_library(NAME [OBJECT] [FOLDERS a b...] [PUBLIC lib...] [PRIVATE lib...]).
# FOLDERS names other folders than this one. OBJECT is for code whose symbols a loaded plug-in looks for: all of it is
# linked, whether the program calls it or not.
function(vexora_library name)
  cmake_parse_arguments(ARG "OBJECT" "" "FOLDERS;PUBLIC;PRIVATE" ${ARGN})
  set(kind STATIC)
  if(ARG_OBJECT)
    set(kind OBJECT)
  endif()
  if(NOT ARG_FOLDERS)
    set(ARG_FOLDERS .)
  endif()
  vexora_sources(sources ${ARG_FOLDERS})
  add_library(${name} ${kind} ${sources})
  target_link_libraries(${name} PUBLIC vexora_compiler ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# An installed program: vexora_program(NAME MAIN file.cpp [LOADS_PLUGIN] LIBS lib...). The plug-in takes the symbols of
# the contract from the program that loads it.
function(vexora_program name)
  cmake_parse_arguments(ARG "LOADS_PLUGIN" "MAIN" "LIBS" ${ARGN})
  add_executable(${name} ${ARG_MAIN})
  target_link_libraries(${name} PRIVATE vexora_compiler ${ARG_LIBS})
  if(ARG_LOADS_PLUGIN)
    set_target_properties(${name} PROPERTIES ENABLE_EXPORTS ON)
    add_dependencies(${name} monitor)
  endif()
  install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
