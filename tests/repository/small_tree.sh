# shellcheck shell=bash
# A tree in a folder of its own, with the real commands in it. It needs no packages, so nothing is installed for it.

commands=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../script" && pwd)
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cd "$tree" || exit
cp -r "$commands" script
printf '#!/bin/sh\n' >script/bootstrap
mkdir -p .ci cmake platform monitor/engine monitor/traffic monitor/health probe dashboard tests fuzz bench
touch CMakeLists.txt CMakePresets.json README.md

# Ends the test as failed.
fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

# Writes a file of one text.
write() {
  mkdir -p "$(dirname "$1")"
  printf '%b\n' "$2" >"$1"
}
