#!/usr/bin/env bash

# Checks that what is installed has the defences that VEXORA_HARDEN asks for: hardening_test.sh FILE...
#
# It reads the files themselves: compilers and linkers pass over what they don't know, or what one object spoils.
set -euo pipefail

status=0
case $(uname -m) in
  x86_64) branches=(-fcf-protection=full) ;;
  aarch64) branches=(-mbranch-protection=standard) ;;
  *) branches=() ;;
esac

# One line a defence that the file lacks.
lacks() {
  echo "hardening: $(basename "$1") has no $2"
  status=1
}

# The file has lines of readelf that match (all of them are read, for readelf would be told of a pipe that closed): shows FILE DEFENCE OPTION PATTERN
shows() {
  readelf --wide "$3" "$1" | grep -E "$4" >/dev/null || lacks "$1" "$2"
}

for file; do
  shows "$file" 'load address of its own choice (PIE or shared object)' --file-header '^ *Type: +DYN '
  shows "$file" 'read-only relocations' --program-headers '^ *GNU_RELRO '
  shows "$file" 'relocation before the start (BIND_NOW)' --dynamic 'BIND_NOW|FLAGS_1.* NOW'
  shows "$file" 'stack that cannot be executed' --program-headers '^ *GNU_STACK .* RW +0x'
  shows "$file" 'stack canary' --dyn-syms ' __stack_chk_fail(@|$)'
  shows "$file" 'checked call of the C library (_FORTIFY_SOURCE)' --dyn-syms ' __[a-z]+_chk(@|$)'
  # Of these the file itself tells nothing: the C library's own start files have no control-flow protection, so the linker
  # leaves the note out. But each compilation notes the options that it was given.
  options=$(readelf --wide --string-dump=.debug_str "$file" | grep -E 'GNU C\+\+' || true)
  [[ -n $options ]] || lacks "$file" 'record of the compiler'"'"'s options'
  for option in -fstack-clash-protection "${branches[@]}"; do
    ! grep -v -e "$option" <<<"$options" || lacks "$file" "$option in the compilations above"
  done
done
exit "$status"
