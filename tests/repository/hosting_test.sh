#!/usr/bin/env bash

# Builds and runs the host that docs/hosting.md shows, as it stands there: hosting_test.sh SOURCE-FOLDER PLUGIN [COMPILER-FLAG...]
#
# Without flags it is compiled against the headers of the source folder.
set -euo pipefail
source=$1
plugin=$2
shift 2

fail() {
  echo "hosting: $*" >&2
  exit 1
}

folder=$(mktemp -d)
host=
cleanup() {
  [[ -z $host ]] || kill -KILL "$host" 2>/dev/null || true
  rm -rf "$folder"
}
trap cleanup EXIT

# A block of C++ begins with a comment that names its file.
awk -v folder="$folder" '
  /^```cpp$/ { is_block = 1; file = ""; next }
  /^```$/ { is_block = 0; next }
  is_block && file == "" { file = $2; sub(":", "", file) }
  is_block && file ~ /^[a-z_]+[.]cpp$/ { print > (folder "/" file) }' "$source/docs/hosting.md"
[[ -s $folder/host.cpp && -s $folder/services.cpp ]] || fail "the document shows no host"
lines=$(wc -l <"$folder/host.cpp")
((lines <= 60)) || fail "a host in sixty lines has $lines"

flags=("$@")
((${#flags[@]} > 0)) || read -ra flags <<<"-I$source $(pkg-config --cflags --libs json-c)"
"${CXX:-c++}" -std=c++17 -Wall -Wextra -Werror "$folder/host.cpp" "$folder/services.cpp" -rdynamic -pthread "${flags[@]}" \
  -o "$folder/host" || fail "the host does not compile"

! "$folder/host" /no/such/plugin.so 2>"$folder/errors" || fail "the host runs without a plug-in"
grep -q '/no/such/plugin.so' "$folder/errors" || fail "the host does not say what cannot be loaded"

# A library without the note is none of the contract.
echo 'int nothing;' | "${CXX:-c++}" -x c++ -shared -fPIC - -o "$folder/other.so"
! "$folder/host" "$folder/other.so" 2>"$folder/errors" || fail "the host calls a library of another contract"
grep -q 'another contract' "$folder/errors" || fail "the host says '$(cat "$folder/errors")' of another contract"

for signal in TERM INT; do
  mkfifo "$folder/messages"
  # In a shell's background SIGINT would be ignored, and the host would inherit that.
  (trap - INT && exec env --default-signal=INT "$folder/host" "$plugin" >"$folder/messages" 2>"$folder/errors") &
  host=$!
  exec 3<"$folder/messages"
  read -r -t 60 message <&3 || fail "no message comes: $(cat "$folder/errors")"
  [[ $message == '{ "name": "HealthMonitor", "data": { "status": [ ], "name": "HealthMonitor" } }' ]] ||
    fail "another message: $message"
  begin=$SECONDS
  kill "-$signal" "$host"
  wait "$host" || fail "the host ends with $? on SIG$signal: $(cat "$folder/errors")"
  host=
  ((SECONDS - begin < 30)) || fail "the host takes $((SECONDS - begin)) s to stop"
  [[ ! -s $folder/errors ]] || fail "the host complains: $(cat "$folder/errors")"
  exec 3<&-
  rm "$folder/messages"
done
