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
    { "name": "asan", "inherits": "release", "cacheVariables": { "BROKEN": "ON" } }
  ],
  "testPresets": [ { "name": "release", "configurePreset": "release", "execution": { "noTestsAction": "error" } } ]
}
END
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(small NONE)
enable_testing()
if(BROKEN)
  add_custom_target(broken ALL COMMAND false)
endif()
add_test(NAME Good.One COMMAND true)
add_test(NAME Good.Two COMMAND true)
add_test(NAME Bad.One COMMAND false)
add_test(NAME Not.ToBeRun COMMAND sh -c "exit 77")
set_tests_properties(Not.ToBeRun PROPERTIES SKIP_RETURN_CODE 77)
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

expect 1 "2 passed, 1 failed" release
grep -qF "script/test release -R '^Bad.One\$'" output || fail "no command to repeat the failure"
expect 0 "2 passed, 0 failed" -R Good
expect 1 "0 passed, 1 failed" release -R NothingOfThisName
expect 1 "1 passed, 2 failed" release asan -R 'One'
expect 2 "script/test: unknown part nothing (try --help)" nothing
