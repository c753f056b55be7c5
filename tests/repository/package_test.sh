#!/usr/bin/env bash

# Installs packages into a root folder of their own, and upgrades, removes and purges them: package_test.sh FOLDER
#
# Scripts of the packages run outside of it, as those of an image builder do (dpkg --force-script-chrootless): what they tell
# the service manager is not tried here.
set -euo pipefail
packages=$1
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# dpkg wants to be root, whatever the folder that it installs into.
[[ $(id -u) == 0 ]] || exec fakeroot "$0" "$@"

fail() {
  echo "package: $*" >&2
  exit 1
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
root=$folder/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
: >"$root/var/lib/dpkg/status"
: >"$root/var/lib/dpkg/available"

# dpkg for that folder. Their dependencies are on the machine, not in it.
dpkg_there() {
  dpkg --root="$root" --force-script-chrootless --force-depends --force-confold --log=/dev/null "$@" \
    >"$folder/log" 2>&1 || {
    cat "$folder/log"
    fail "dpkg $*"
  }
}

# The newest package of this name.
file_of() {
  local files=("$packages/$1"_*.deb)
  [[ ${#files[@]} == 1 && -f ${files[0]} ]] || fail "no package $1, or several, in $packages"
  echo "${files[0]}"
}

# An older version of a package, with a file that the newer one lacks: older_than PACKAGE STRAY
older_than() {
  local tree=$folder/older
  rm -rf "$tree"
  dpkg-deb --raw-extract "$(file_of "$1")" "$tree"
  sed -i 's/^Version: .*/Version: 0.0.1/; s/(= [^)]*)/(= 0.0.1)/' "$tree/DEBIAN/control"
  mkdir -p "$(dirname "$tree/$2")"
  echo old >"$tree/$2"
  dpkg-deb --root-owner-group --build "$tree" "$folder/$1.deb" >/dev/null
}

stale=usr/share/vexora/dashboard/assets/stale-0000.js
older_than vexora-probe "$stale"
older_than vexora-monitor usr/lib/vexora/probe/stale
dpkg_there --install "$folder/vexora-monitor.deb" "$folder/vexora-probe.deb"
[[ -f $root/$stale ]] || fail "the older version is not there"

# An administrator has changed the configuration.
echo '# mine' >>"$root/etc/vexora/probe.toml"
dpkg_there --install "$(file_of vexora-monitor)" "$(file_of vexora-probe)" "$(file_of vexora-monitor-dev)"
[[ ! -e $root/$stale ]] || fail "an upgrade leaves a file of the older version"
grep -q '^# mine$' "$root/etc/vexora/probe.toml" || fail "an upgrade takes the administrator's configuration away"

# What belongs where.
for file in usr/bin/vexora-probe usr/bin/vexora-centre usr/bin/probe-watch usr/bin/probe-replay usr/lib/vexora/probe/libmonitor.so \
  lib/systemd/system/vexora-probe.service usr/share/man/man1/vexora-probe.1.gz usr/share/man/man5/probe.toml.5.gz \
  lib/systemd/system/vexora-centre.service usr/share/man/man1/vexora-centre.1.gz usr/share/man/man5/centre.toml.5.gz \
  usr/share/bash-completion/completions/vexora-probe usr/share/vexora/dashboard/index.html \
  usr/share/vexora/grafana/vexora-probe.json usr/share/vexora/fleet/nats-server.conf usr/share/vexora/fleet/prometheus.yml \
  usr/share/vexora/fleet/victoria-metrics.yml usr/share/vexora/fleet/recording-rules.yml usr/share/vexora/profiles/generic.toml usr/include/vexora/platform/contract_version.h \
  usr/share/doc/vexora-probe/operating.md usr/share/doc/vexora-monitor-dev/schemas/envelope.json; do
  [[ -f $root/$file ]] || fail "$file is missing"
done
[[ $(stat --format=%a "$root/etc/vexora/secrets") == 700 ]] || fail "everybody can look for secrets"

# It runs from where it lies.
"$root/usr/bin/vexora-probe" --version | grep -q '^vexora-probe .*(commit [0-9a-f]*)$' || fail "the probe names no commit"
"$root/usr/bin/vexora-probe" profiles list >/dev/null || fail "the probe does not find its profiles"
"$root/usr/bin/vexora-centre" --check --config "$root/etc/vexora/centre.toml" >/dev/null || fail "the centre's configuration cannot be used"

# The service manager takes the units, and has little to say about what the services may do (0 is nothing, 100 everything).
for service in vexora-probe vexora-centre; do
  unit=$folder/$service.service
  sed "s|=/usr/bin/$service|=$root/usr/bin/$service|" "$root/lib/systemd/system/$service.service" >"$unit"
  complaints=$(systemd-analyze verify --man=no "$unit" 2>&1) || fail "the unit: $complaints"
  [[ -z $complaints ]] || fail "the unit: $complaints"
  systemd-analyze security --offline=true --threshold=15 "$unit" >"$folder/log" || {
    tail -n 1 "$folder/log"
    fail "$service may do too much"
  }
done

# A stranger builds a host, by each of the two ways.
libdir=$(cd "$root/usr/lib" && echo */pkgconfig)
export PKG_CONFIG_PATH=$root/usr/lib/$libdir
cat >"$folder/host.cpp" <<'END'
#include "platform/contract_version.h"
#include "platform/device_centre.h"
#include "monitor/engine/entry_points.h"
int main() { return VEXORA_CONTRACT_VERSION == 1 ? 0 : 1; }
END
read -ra flags <<<"$(pkg-config --cflags --libs vexora-monitor)"
c++ -std=c++17 "$folder/host.cpp" "${flags[@]}" -o "$folder/host" || fail "pkg-config: the host does not compile"
"$folder/host" || fail "pkg-config: the host does not run"
[[ -f $(pkg-config --variable=plugin vexora-monitor) ]] || fail "pkg-config names no plug-in"
"$here/hosting_test.sh" "$here/../.." "$(pkg-config --variable=plugin vexora-monitor)" "${flags[@]}" || fail "the document's host"
mkdir "$folder/stranger"
cat >"$folder/stranger/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.16)
project(stranger CXX)
find_package(vexora-monitor 0.1 REQUIRED)
add_executable(host ../host.cpp)
target_link_libraries(host PRIVATE vexora::host_contract)
if(NOT EXISTS ${VEXORA_MONITOR_PLUGIN})
  message(FATAL_ERROR "no plug-in: ${VEXORA_MONITOR_PLUGIN}")
endif()
END
{ cmake -S "$folder/stranger" -B "$folder/stranger/build" -DCMAKE_PREFIX_PATH="$root/usr" &&
  cmake --build "$folder/stranger/build"; } >"$folder/log" 2>&1 || {
  cat "$folder/log"
  fail "find_package: the host cannot be built"
}
"$folder/stranger/build/host" || fail "find_package: the host does not run"

dpkg_there --remove vexora-monitor-dev vexora-probe vexora-monitor
[[ -f $root/etc/vexora/probe.toml ]] || fail "a removal takes the configuration away"
dpkg_there --purge vexora-monitor-dev vexora-probe vexora-monitor
left=$(find "$root" -path "$root/var" -prune -o -type f -print)
[[ -z $left ]] || fail "a purge leaves: $left"
