#!/usr/bin/env bash

# Checks that an install stands alone: install_test.sh BUILD-FOLDER
#
# It is moved after it was made, used from another folder, and looked at for what does not belong into it.
set -euo pipefail
build=$1

fail() {
  echo "install: $*" >&2
  exit 1
}

folder=$(mktemp -d)
probe=
cleanup() {
  [[ -z $probe ]] || kill "$probe" 2>/dev/null || true
  rm -rf "$folder"
}
trap cleanup EXIT

cmake --install "$build" --prefix "$folder/made" >"$folder/log" || {
  cat "$folder/log"
  fail "cmake --install failed"
}
prefix=$folder/moved
mv "$folder/made" "$prefix"
cd /

# Nothing but what is meant for the one who installs.
strays=$(find "$prefix" -type f -printf '%P\n' |
  sed -E '\#^bin/(vexora-probe|vexora-centre|probe-watch|probe-replay)$#d
    \#^lib/vexora/probe/libmonitor\.so$#d
    \#^include/vexora/(platform/([a-z]+/)?[a-z_]+\.h|monitor/engine/entry_points\.h)$#d
    \#^lib[^/]*(/[^/]+-linux-[^/]+)?/(cmake/vexora-monitor/vexora-monitor-config(-version)?\.cmake|pkgconfig/vexora-monitor\.pc)$#d
    \#^share/vexora/dashboard/(assets/)?[^/]+$#d
    \#^share/vexora/grafana/vexora-probe\.json$#d
    \#^share/vexora/fleet/(nats-server\.conf|(prometheus|victoria-metrics|recording-rules)\.yml)$#d
    \#^share/vexora/profiles/[a-z_]+\.toml$#d
    \#^share/doc/vexora-probe/examples/(probe|centre)\.toml$#d')
[[ -z $strays ]] || fail "what is this for: $strays"

# A host compiles against the headers alone, as docs/hosting.md says.
read -ra json <<<"$(pkg-config --cflags json-c)"
find "$prefix/include/vexora" -name '*.h' -printf '#include "%P"\n' | LC_ALL=C sort >"$folder/host.cpp"
grep -q 'platform/device_centre.h' "$folder/host.cpp" || fail "the headers are missing"
"${CXX:-c++}" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include/vexora" "${json[@]}" "$folder/host.cpp" ||
  fail "the installed headers do not compile"

# The probe finds its plug-in and its pages, wherever it was put and is started.
: >"$folder/probe.log" # read before the probe may have opened it
"$prefix/bin/vexora-probe" --config "$prefix/share/doc/vexora-probe/examples/probe.toml" --simulated --speed 3600 --port 0 \
  >"$folder/probe.log" 2>&1 &
probe=$!
port=
for ((i = 0; i < 300 && ${#port} == 0; ++i)); do
  kill -0 "$probe" 2>/dev/null || break
  port=$(sed -n 's/.*serving on port \([0-9]*\).*/\1/p' "$folder/probe.log")
  [[ -n $port ]] || sleep 0.1
done
[[ -n $port ]] || {
  cat "$folder/probe.log"
  fail "the probe does not start"
}
grep -qF "plug-in $prefix/" "$folder/probe.log" || fail "the probe has taken another plug-in: $(grep plug-in "$folder/probe.log")"

timeout 60 "$prefix/bin/probe-watch" --url "ws://127.0.0.1:$port" --count 1 HealthMonitor >"$folder/message"
grep -q '"HealthMonitor"' "$folder/message" || fail "no message of the plug-in comes: $(cat "$folder/message")"

exec 3<>"/dev/tcp/127.0.0.1/$port"
printf 'GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n' >&3
read -r _ status _ <&3
# Without npm there are no pages to be installed.
wanted=503
[[ ! -f $prefix/share/vexora/dashboard/index.html ]] || wanted=200
[[ $status == "$wanted" ]] || fail "/ answers with $status instead of $wanted"
exec 3>&-

kill "$probe"
wait "$probe" || fail "the probe ends with $?"
probe=
