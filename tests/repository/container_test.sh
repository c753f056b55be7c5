#!/usr/bin/env bash

# Looks at packaging/container/Dockerfile, and does what it says without a container: container_test.sh FOLDER
#
# The packages of the folder are unpacked over a copy-on-write view of this machine's files, where apt would install them;
# the other commands run in that view as they stand in the file, then the program as its user and without capabilities, and
# the health check. That takes root; without it the file is only looked at, and that is said.
set -euo pipefail
packages=$(cd "$1" && pwd)
file=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/packaging/container/Dockerfile

fail() {
  echo "container: $*" >&2
  exit 1
}

folder=$(mktemp -d)
inner=
cleanup() {
  # `timeout` leads a group of processes, and with `unshare` goes the namespace; with `timeout` alone nothing does.
  [[ -z $inner ]] || kill -KILL -- "-$inner" 2>/dev/null || true
  [[ -z $inner ]] || wait "$inner" 2>/dev/null || true
  rm -rf "$folder"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Each instruction as a line, without comments.
sed -e '/^#/d' -e '/^$/d' "$file" | sed -e ':a' -e '/\\$/{N; s/ *\\\n */ /; ba' -e '}' >"$folder/instructions"
# What an instruction says: of INSTRUCTION
of() { sed -n "s/^$1 //p" "$folder/instructions"; }
# The words of an instruction's list, one a line: words_of INSTRUCTION
words_of() {
  of "$1" | sed 's/^[^[]*//' | python3 -c 'import json, sys; print("\n".join(json.load(sys.stdin)))' ||
    fail "$1 is no list of words: a shell would stand between the program and its signals"
}

unknown=$(grep -vE '^(FROM|COPY|RUN|USER|VOLUME|EXPOSE|HEALTHCHECK|STOPSIGNAL|ENTRYPOINT|CMD) ' "$folder/instructions" || true)
[[ -z $unknown ]] || fail "what is this instruction: $unknown"
for instruction in FROM COPY RUN USER VOLUME EXPOSE HEALTHCHECK STOPSIGNAL ENTRYPOINT CMD; do
  [[ $(grep -c "^$instruction " "$folder/instructions") == 1 ]] || fail "there is not one $instruction"
done
[[ $(of FROM) =~ ^debian:[a-z]+-slim$ ]] || fail "the base is no named release of Debian: $(of FROM)"
[[ $(of USER) =~ ^([1-9][0-9]+):([1-9][0-9]+)$ ]] || fail "the user is no number, or root: $(of USER)"
user=${BASH_REMATCH[1]} group=${BASH_REMATCH[2]}
order=$(grep -nE '^(RUN|USER) ' "$folder/instructions" | cut -d: -f2 | cut -d' ' -f1 | xargs)
[[ $order == 'RUN USER' ]] || fail "a command runs as another user than is meant: $order"
read -ra sources <<<"$(of COPY)"
unset 'sources[-1]'
files=()
for source in "${sources[@]}"; do
  matching=$(compgen -G "$packages/$source") || fail "there is no package $source"
  mapfile -t -O "${#files[@]}" files <<<"$matching"
done
mapfile -t steps < <(of RUN | sed 's/ && /\n/g')
[[ ${steps[0]} == 'apt-get update' && ${steps[1]} == 'apt-get install --yes --no-install-recommends '* ]] ||
  fail "the packages are not installed first"
[[ " ${steps[*]} " == *' rm -rf '*' /var/lib/apt/lists '* ]] || fail "the lists of packages stay in the image"
mapfile -t program < <(words_of ENTRYPOINT && words_of CMD)
mapfile -t health < <(words_of HEALTHCHECK)
state=$(words_of VOLUME)
of HEALTHCHECK | grep -q -e '--timeout=[0-9]*s .*--start-period=' || fail "the health check has no limits"

missing=
[[ $(id -u) == 0 && -z ${FAKEROOTKEY-} ]] || missing="the rights of root"
[[ -n $missing ]] || unshare --mount --pid --fork --net true 2>/dev/null || missing="namespaces of its own (unshare)"
if [[ -n $missing ]]; then
  echo "container: SKIPPED: the file was looked at; to do what it says it lacks $missing"
  exit 77
fi

mkdir -p "$folder/root" "$folder/layers" "$folder/files/usr"
for package in "${files[@]}"; do dpkg-deb --extract "$package" "$folder/packed"; done
cp -a "$folder/packed/usr" "$folder/packed/etc" "$folder/files/"
printf '%s\n' "${steps[@]:2}" >"$folder/steps"
printf '%s\n' "${program[@]}" >"$folder/program"
printf '%s\n' "${health[@]}" >"$folder/health"

cat >"$folder/run" <<'END'
set -euo pipefail
folder=$1 user=$2 group=$3 state=$4
root=$folder/root
fail() {
  echo "container: $*" >&2
  exit 1
}
mount --make-rprivate /
mount -t tmpfs layers "$folder/layers"
mkdir "$folder/layers/upper" "$folder/layers/work"
mount -t overlay view -o "lowerdir=/,upperdir=$folder/layers/upper,workdir=$folder/layers/work" "$root"
rm -rf "$root/var/lib/vexora" "$root/etc/vexora"
cp -a "$folder/files/." "$root/"
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
mount -t tmpfs tmp "$root/tmp"
ip link set lo up
while read -r step; do
  chroot "$root" /bin/sh -c "$step" || fail "this step fails: $step"
done <"$folder/steps"
[[ $(stat --format='%u %a' "$root$state") == "$user 700" ]] || fail "$state is not the user's own"
mount -t tmpfs -o "mode=700,uid=$user,gid=$group" state "$root$state"
mount -o remount,ro "$root" # what is kept is kept in the volume

as_user=(setpriv --reuid "$user" --regid "$group" --clear-groups --no-new-privs --bounding-set=-all --inh-caps=-all)
mapfile -t program <"$folder/program"
mapfile -t health <"$folder/health"
is_healthy() { chroot "$root" "${as_user[@]}" "${health[@]}" >"$folder/answer" 2>&1; }
! is_healthy || fail "nothing runs, and the health check is content"
chroot "$root" "${as_user[@]}" "${program[@]}" >"$folder/log" 2>&1 &
probe=$!
for ((i = 0; i < 300; ++i)); do
  kill -0 "$probe" 2>/dev/null || fail "the probe ends: $(cat "$folder/log")"
  ! is_healthy || break
  sleep 0.1
done
is_healthy || fail "the probe is not healthy: $(cat "$folder/answer" "$folder/log")"
grep -q '"status"' "$folder/answer" || fail "the health check looks at something else: $(cat "$folder/answer")"
[[ -d $root$state/journal ]] || fail "nothing is kept in $state"
[[ $(stat --format=%u "$root/proc/$probe") == "$user" ]] || fail "the probe runs as another user"
kill -STOP "$probe"
status=0
timeout 10 chroot "$root" "${as_user[@]}" "${health[@]}" >"$folder/answer" 2>&1 || status=$?
kill -CONT "$probe"
((status != 0)) || fail "the probe stands still, and the health check is content"
((status < 124)) || fail "the health check waits for a probe that stands still" # 124: timeout has ended it
kill -TERM "$probe"
wait "$probe" || fail "the probe ends with $?: $(cat "$folder/log")"
! is_healthy || fail "the probe has ended, and the health check is content"
END
timeout --kill-after=5 120 unshare --mount --pid --fork --kill-child --net bash "$folder/run" "$folder" "$user" "$group" "$state" &
inner=$!
wait "$inner" || fail "what the file says does not work"
inner=
echo "container: the steps of the file work"
