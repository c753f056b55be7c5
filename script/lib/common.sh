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

# Reads what ninja prints: one line for every tenth of the work, and everything that is no progress.
show_progress() {
  local name=$1 line shown=0 all=0
  while IFS= read -r line; do
    if [[ $line =~ ^@([0-9]+)/([0-9]+)@ ]]; then
      # A build that first runs CMake again begins to count anew.
      ((BASH_REMATCH[2] == all)) || shown=0
      all=${BASH_REMATCH[2]}
      ((BASH_REMATCH[1] * 10 / BASH_REMATCH[2] > shown)) || continue
      shown=$((BASH_REMATCH[1] * 10 / BASH_REMATCH[2]))
      printf '   %s: %s of %s built, %s\n' "$name" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" "$(minutes "$((SECONDS - began))")"
    elif [[ $line != 'ninja: no work to do.' && $line != 'ninja: Entering directory'* ]]; then
      printf '%s\n' "$line"
    fi
  done
}

# Seconds as people read them: 75 is 1:15.
minutes() {
  printf '%d:%02d' "$(($1 / 60))" "$(($1 % 60))"
}

# Builds targets in a folder that is configured.
build_folder() {
  local folder=$1 began=$SECONDS
  shift
  NINJA_STATUS='@%f/%t@ ' ninja -C "$folder" -j "$(nproc)" "$@" | show_progress "${folder#build/}"
}

# Builds targets of a preset.
build() {
  local preset=$1
  shift
  configure "$preset" && build_folder "build/$preset" "$@"
}

# The closing line of a command that counts: counts PASSED FAILED SKIPPED
counts() {
  printf '%s passed, %s failed' "$1" "$2"
  (($3 == 0)) || printf ', %s skipped' "$3"
  printf '\n'
}
