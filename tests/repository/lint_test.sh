#!/usr/bin/env bash

# Checks that one check of script/lint passes what is in order, and names what is not: lint_test.sh CHECK
set -euo pipefail
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/small_tree.sh"

# The check passes the tree as it is.
passes() {
  script/lint "$1" >output 2>&1 || {
    cat output
    fail "$1 refuses a tree that is in order"
  }
  [[ $(tail -n 1 output) == "1 passed, 0 failed" ]] || fail "the last line is '$(tail -n 1 output)'"
}

# With FILE of this TEXT in the tree the check fails, and names the file. The tree is left as it was.
refuses() {
  local check=$1 file=$2 text=$3 shown=${3%%$'\n'*}
  mv "$file" kept 2>/dev/null || rm -f kept
  write "$file" "$text"
  ! script/lint "$check" >output 2>&1 || fail "$check passes $file with: $shown"
  grep -qF "$file" output || {
    cat output
    fail "$check does not name $file with: $shown"
  }
  [[ $(tail -n 1 output) == "0 passed, 1 failed" ]] || fail "the last line is '$(tail -n 1 output)'"
  rm "$file"
  [[ ! -f kept ]] || mv kept "$file"
}

arrows() {
  write platform/records.h '#include <json-c/json.h>\n#include <sys/time.h>\n#include "platform/tasks.h"'
  write monitor/engine/entry_points.cpp '#include "monitor/traffic/traffic_records.h"'
  write monitor/traffic/fold.cpp '#include "monitor/engine/monitor.h"\n#include "monitor/traffic/traffic_records.h"'
  write probe/main.cpp '#include <spdlog/spdlog.h>\n#include "monitor/engine/entry_points.h"'
  write tests/any_test.cpp '#include "monitor/traffic/traffic_records.h"\n#include "probe/main.h"'
  passes arrows
  refuses arrows platform/records.h '#include "monitor/engine/monitor.h"'
  refuses arrows platform/records.h '#include <spdlog/spdlog.h>'
  refuses arrows monitor/engine/push.cpp '#include "monitor/traffic/traffic_records.h"'
  refuses arrows monitor/engine/entry_points.cpp '#include "probe/main.h"'
  refuses arrows monitor/traffic/traffic_show.cpp '#include "monitor/health/health.h"'
  refuses arrows monitor/traffic/traffic_show.cpp '#  include "probe/host/device_centre.h"'
  refuses arrows monitor/traffic/traffic_show.cpp '#include <nlohmann/json.hpp>'
  refuses arrows probe/main.cpp '#include "monitor/engine/monitor.h"'
  write probe/server/net/listener.cpp '#include "platform/tasks.h"\n#include "probe/host/log.h"\n#include "probe/server/web.h"'
  passes arrows
  refuses arrows probe/text/utf8.cpp '#include "probe/host/log.h"'
  refuses arrows probe/server/http/head.cpp '#include "probe/api/routes.h"'
  refuses arrows probe/sources/simulated/network.cpp '#include "probe/sources/this_machine/links.h"'
  refuses arrows probe/elsewhere/new.cpp '#include <string>'
}

names() {
  write probe/host/tasks.h '#pragma once'
  write platform/tasks.h '#pragma once'
  write monitor/traffic/traffic_show.cpp ''
  write monitor/traffic/traffic_show.h ''
  passes names
  refuses names probe/server/traffic_show.h ''
}

includes() {
  write monitor/engine/monitor.h '#pragma once\nclass Monitor {\n  void Push();\n};\nint Passes();\nenum class Kind { kOne };'
  write monitor/engine/facade.h '#pragma once\n#include "monitor/engine/monitor.h"  // IWYU pragma: export'
  write monitor/engine/other.h '#pragma once\n#include "monitor/engine/monitor.h"\nclass Other : Monitor {};'
  write monitor/traffic/all.cpp '#include "monitor/engine/monitor.h"\nMonitor all;'
  write monitor/traffic/handed_on.cpp '#include "monitor/engine/facade.h"\nMonitor all;'
  write monitor/traffic/forward.cpp '#include "monitor/engine/other.h"\nclass Monitor;\nvoid Use(Monitor*); // Passes'
  write monitor/traffic/member.cpp '#include "monitor/engine/other.h"\nint n = other.Passes() + Other::Passes();'
  passes includes
  refuses includes monitor/traffic/rests.cpp '#include "monitor/engine/other.h"\nMonitor rests;'
  refuses includes monitor/traffic/calls.cpp 'int n = Passes();'
  refuses includes monitor/traffic/kind.h '#pragma once\nKind KindOf();'
  write monitor/traffic/rests.cpp 'Monitor rests;'
  script/lib/own_includes.py --fix monitor/engine/*.h monitor/traffic/rests.cpp >output
  grep -qxF '#include "monitor/engine/monitor.h"' monitor/traffic/rests.cpp || fail "--fix adds no include"
  passes includes
}

helpers() {
  write tests/a/first_test.cpp 'int Count(int n) {\nvoid PrintTo(const Row& row) {\nTEST(First, Counts) {\n  int Sum(int n);'
  write tests/a/second_test.cpp 'int Sum(int n) {\nvoid PrintTo(const Line& line) {\nTEST(First, Counts) {\nvoid Second::Count(int n) {'
  write tests/b/third_test.cpp 'int Count(int n) {'
  write tests/a/support.cpp 'int Count(int n) {'
  passes helpers
  refuses helpers tests/a/other_test.cpp 'std::vector<int> Count(const std::string& text) {'
  refuses helpers tests/a/other_test.cpp 'Text* Sum('
}

length() {
  seq 500 >probe/long.cpp
  seq 800 >tests/long_test.cpp
  passes length
  refuses length probe/longer.cpp "$(seq 501)"
}

words() {
  write probe/main.cpp '// the todolist of the user'
  passes words
  refuses words probe/later.cpp "// TO""DO: later"
}

json_release() {
  write monitor/engine/json_tree.h 'json_object_put(tree);'
  passes json
  refuses json monitor/traffic/traffic_show.cpp 'json_object_put(tree);'
}

comments() {
  write platform/plain.h "#pragma once
/// One.
struct One {
  One() = default;
  ~One() {}
  int field = 0;  ///< Two.
 private:
  int own_ = 0;
};
/// Three.
enum class Three {
  kFour = 4,  ///< Four.
};
/// Five.
#define FIVE 5
/// Six.
/// Threads: any. Fails: never.
int Six(int parameter);"
  write platform/shared.h "#pragma once\n// Holds for every call below:\n// Threads: any.\n// Fails: never.\n\n/// Seven.\nint Seven();"
  passes comments
  refuses comments platform/bare.h '#pragma once\nint kBare = 0;'
  refuses comments platform/bare.h '#pragma once\n/// One.\nstruct Bare {\n  int field = 0;\n};'
  refuses comments platform/bare.h '#pragma once\n/// One.\nenum class Bare { kTwo };'
  refuses comments platform/bare.h '#pragma once\n// No documentation.\nint kBare = 0;'
  refuses comments platform/bare.h '#pragma once\n#define BARE 1'
  refuses comments platform/bare.h '#pragma once\n/// One.\nint Bare();'
  refuses comments platform/bare.h '#pragma once\n/// One. Threads: any.\nint Bare();'
}

# With a clang-tidy that finds fault with every file that has "bad" in it, and with what cmake would have prepared.
tidy() {
  # shellcheck disable=SC2016  # the text of a script
  write bin/clang-tidy '#!/bin/bash\nfor file; do\n  [[ $file != *.cpp ]] || echo "looks at $file"\ndone\n! grep -l bad "${@:4}"'
  write bin/cmake '#!/bin/bash'
  chmod +x bin/clang-tidy bin/cmake
  export PATH=$tree/bin:$PATH GIT_CONFIG_GLOBAL=$tree/gitconfig
  git config --global user.name A
  git config --global user.email a@localhost
  write .gitignore '/build/\n/bin/\n/output\n/kept\n/gitconfig'
  write probe/used.h 'int Used();'
  write probe/user.cpp '#include "probe/used.h"'
  write probe/other.cpp 'int other;'
  write build/lint/compile_commands.json "[\n{\n  \"file\": \"$tree/probe/user.cpp\"\n},\n{\n  \"file\": \"$tree/probe/other.cpp\"\n}\n]"
  write build/lint/build.ninja ''
  git init -q . && git add -A && git commit -qm first

  looks_at probe/other.cpp probe/user.cpp # no commit is noted
  script/lint --mark >output || fail "a tree in order is not marked: $(cat output)"
  [[ $(cat script/lib/tidy_clean) == "$(git rev-parse HEAD)" ]] || fail "another commit is noted"
  git add -A && git commit -qm mark
  looks_at # nothing has changed
  write probe/other.cpp 'int another;'
  looks_at probe/other.cpp
  git commit -qam second
  looks_at probe/other.cpp
  write probe/used.h 'int Used(int);'
  looks_at probe/other.cpp probe/user.cpp # one of them by its header
  ! script/lint --mark >output || fail "a tree that differs from its commit is marked"
  git checkout -q probe/used.h
  write .clang-tidy ''
  git add -A && git commit -qm third
  looks_at probe/other.cpp probe/user.cpp # other rules
  script/lint --mark >output && git add -A && git commit -qm mark
  looks_at
  refuses tidy probe/user.cpp 'bad'
  passes tidy
  write script/lib/tidy_clean 0123456789012345678901234567890123456789
  looks_at probe/other.cpp probe/user.cpp # a commit that this clone does not have
}

# script/lint tidy looks at these files and no others.
looks_at() {
  passes tidy
  local seen
  seen=$(sed -n 's/^looks at //p' output | LC_ALL=C sort | xargs)
  [[ $seen == "$*" ]] || fail "looks at '$seen' instead of '$*'"
}

headers() {
  write platform/alone.h '#pragma once\n#include <string>\nstd::string Alone();'
  write monitor/engine/alone.h '#pragma once\n#include <concepts>\ntemplate <std::integral T> T Alone(T value);'
  passes headers
  refuses headers monitor/engine/needy.h '#pragma once\nstd::string Needy();'
  refuses headers platform/too_new.h '#pragma once\n#include <type_traits>\ntemplate <class T> concept Any = true;'
}

"$1"
