#!/usr/bin/env bash

# Checks that script/test tells what really ran: passed, failed, and neither for a skipped test or an unbuilt flavour.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/small_tree.sh"

cat >CMakePresets.json <<'END'
{
  "version": 4,
  "configurePresets": [
    { "name": "release", "generator": "Ninja", "binaryDir": "${sourceDir}/build/${presetName}" },
    { "name": "asan", "inherits": "release" },
    { "name": "tsan", "inherits": "release", "cacheVariables": { "BROKEN": "ON" } }
  ],
  "testPresets": [
    { "name": "release", "configurePreset": "release", "execution": { "noTestsAction": "error" } },
    { "name": "asan", "configurePreset": "asan", "execution": { "noTestsAction": "error" } },
    { "name": "tsan", "configurePreset": "tsan", "execution": { "noTestsAction": "error" } }
  ]
}
END
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(small NONE)
include(CTest)
add_custom_target(quick_tests)
foreach(step RANGE 1 40)
  add_custom_target(step_${step} ALL COMMAND true)
endforeach()
if(BROKEN OR EXISTS ${CMAKE_SOURCE_DIR}/broken)
  add_custom_target(broken ALL COMMAND echo what is wrong COMMAND false)
endif()
add_test(NAME Good.One COMMAND true)
add_test(NAME Good.Two COMMAND true)
add_test(NAME Bad.One COMMAND false)
add_test(NAME Not.ToBeRun COMMAND sh -c "exit 77")
set_tests_properties(Not.ToBeRun PROPERTIES SKIP_RETURN_CODE 77)
set_tests_properties(Good.Two Bad.One PROPERTIES LABELS quick)
END

# script/test with these arguments ends with this STATUS and this last LINE.
expect() {
  local status=$1 line=$2 seen=0
  shift 2
  # shellcheck disable=SC2065  # not the command "test"
  script/test "$@" >output 2>&1 || seen=$?
  if [[ $seen != "$status" || $(tail -n 1 output) != "$line" ]]; then
    cat output
    fail "script/test $*: status $seen, '$(tail -n 1 output)' where $status, '$line' was expected"
  fi
}

# What the last run printed has a line that matches.
prints() {
  grep -qE "$1" output || {
    cat output
    fail "no line '$1'"
  }
}

expect 1 "2 passed, 1 failed, 1 skipped" release
prints "^   script/test release -R '\^Bad.One\\$'$"
prints '^== release +[0-9]+:[0-9]{2}  2 passed, 1 failed, 1 skipped$'
prints '^   release +[0-9]+:[0-9]{2}  2 passed, 1 failed, 1 skipped$'

# A line for each tenth of the build, and no more of them.
lines=$(grep -cE '^   release: [0-9]+ of 40 built, [0-9]+:[0-9]{2}$' output)
((lines == 10)) || fail "$lines lines of progress instead of 10"

expect 0 "2 passed, 0 failed" -R Good
expect 1 "0 passed, 1 failed" release -R NothingOfThisName
expect 1 "1 passed, 2 failed" release tsan -R 'One'
prints '^what is wrong$'
prints '^   tsan +[0-9]+:[0-9]{2}  0 passed, 1 failed$'

# The quick tests of both sanitizers, whatever else of them cannot be built.
expect 1 "2 passed, 2 failed" quick
prints "^   script/test quick -R '\^Bad.One\\$'$"
expect 0 "2 passed, 0 failed" quick -R Good

# A build without a preset, and what another command counts.
expect 0 "1 passed, 0 failed" plain
printf '#!/bin/sh\necho 3 passed, 1 failed\n' >script/package
expect 1 "3 passed, 1 failed" package
prints '^   script/package$'
printf '#!/bin/sh\necho 3 passed, 0 failed, 2 skipped\n' >script/package
expect 0 "4 passed, 0 failed, 2 skipped" plain package
touch broken
expect 1 "0 passed, 1 failed" plain
prints '^   script/test plain$'

expect 2 "script/test: unknown part nothing (try --help)" nothing
