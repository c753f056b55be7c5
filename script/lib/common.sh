# shellcheck shell=bash
# What the commands beside this folder share. They have changed to the repository's root before they read it.

# The comment at the head of a command is its help.
print_help() {
  sed -n '3,/^[^#]/ { s/^# \{0,1\}//p }' "$1"
}

say() {
  printf '== %s\n' "$*"
}

# Says what is wrong and how to get help, and ends the command.
usage_error() {
  printf '%s: %s (try --help)\n' "script/${0##*/}" "$*" >&2
  exit 2
}

# Prepares the folder of a preset. Afterwards the build itself notices changed CMake files, but not a changed preset.
configure() {
  [[ build/$1/build.ninja -nt CMakePresets.json ]] || cmake --preset "$1" --log-level=WARNING >/dev/null
}

# Builds targets of a preset.
build() {
  local preset=$1 quiet=()
  shift
  [[ -t 1 ]] || quiet=(-- --quiet)
  configure "$preset" && cmake --build "build/$preset" --parallel "$(nproc)" --target "$@" "${quiet[@]}"
}
