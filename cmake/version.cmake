# Writes the source that tells version and commit, unless it is there and the same.
#
# cmake -DVERSION=... -DCOMMIT=... -DSOURCE_DIR=... -DOUTPUT=FILE -P version.cmake. An empty COMMIT: that of the clone; where
# there is none, the text names none.

if(NOT COMMIT)
  execute_process(COMMAND git -C ${SOURCE_DIR} rev-parse --short=12 HEAD
    OUTPUT_VARIABLE COMMIT OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  # A folder above the source may be a clone of something else.
  execute_process(COMMAND git -C ${SOURCE_DIR} rev-parse --show-toplevel
    OUTPUT_VARIABLE clone OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT clone STREQUAL SOURCE_DIR)
    set(COMMIT)
  endif()
endif()
set(text ${VERSION})
if(COMMIT)
  string(APPEND text " (commit ${COMMIT})")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[
#include "probe/version/version.h"

namespace probe {

const char* const kVersion = "@VERSION@";
const char* const kVersionText = "@text@";

}  // namespace probe
]] @ONLY)
