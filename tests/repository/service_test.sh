#!/usr/bin/env bash

# Has a service manager run the packages' unit: service_test.sh FOLDER
#
# The packages of the folder are unpacked over a copy-on-write view of this machine's files, in which a service manager is
# started as the first process of namespaces of its own: of processes, mounts, network, hostname and control groups. So
# the whole unit is tried: the user of its own, the credentials, the state folder, the call filter, start, reload and stop.
# It needs root and a control group that it may divide; without them it says what is missing, and ends with 77: skipped.
set -euo pipefail
packages=$1
cgroups=$(findmnt --noheadings --first-only --types cgroup2 --output TARGET || true)

missing=()
[[ $(id -u) == 0 && -z ${FAKEROOTKEY-} ]] || missing+=("the rights of root")
[[ -n $cgroups && -w $cgroups ]] || missing+=("control groups of version 2 that it may divide")
[[ -x /lib/systemd/systemd ]] || missing+=("a service manager (the package systemd)")
unshare --mount --pid --fork --cgroup --net true 2>/dev/null || missing+=("namespaces of its own (unshare)")
if ((${#missing[@]} > 0)); then
  (IFS=,; echo "service: SKIPPED for want of ${missing[*]}" | sed 's/,/, /g')
  exit 77
fi

folder=$(mktemp -d)
group=$cgroups/vexora-service-test-$$
manager=
cleanup() {
  # With the group go the service manager and all that it has started: the death of `timeout` alone ends none of them.
  [[ ! -d $group ]] || echo 1 >"$group/cgroup.kill" || true
  [[ -z $manager ]] || kill -TERM "$manager" 2>/dev/null || true
  [[ -z $manager ]] || wait "$manager" 2>/dev/null || true
  for ((i = 0; i < 50; ++i)); do
    find "$group" -depth -type d -exec rmdir {} \; 2>/dev/null || true
    [[ -d $group ]] || break
    sleep 0.1
  done
  rm -rf "$folder"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mkdir -p "$folder/files" "$folder/root" "$folder/layers"
for package in "$packages"/vexora-monitor_*.deb "$packages"/vexora-probe_*.deb; do
  dpkg-deb --extract "$package" "$folder/packed"
done
# Where /lib is a link, what lies below it belongs to its target.
mkdir -p "$folder/files/usr"
cp -a "$folder/packed/usr" "$folder/packed/etc" "$folder/files/"
[[ ! -d $folder/packed/lib ]] || cp -a "$folder/packed/lib" "$folder/files/usr/"
: >"$folder/result"

# What is done inside, once the service manager runs.
cat >"$folder/files/usr/vexora-service-test" <<'END'
set -u
fail() {
  echo "service: $*"
  journalctl --no-pager --output=cat --unit=vexora-probe | tail -n 30
  echo failed >/run/result
  systemctl --force --force poweroff
  exit 1
}
of() { systemctl show --property="$1" --value vexora-probe; }
# The status that a path is answered with: status_of PATH [CURL-OPTION...]
status_of() { curl --silent --output /dev/null --write-out '%{http_code}' "${@:2}" "http://127.0.0.1:8765$1"; }
# The log has a line of this priority, or has one soon: has_line PRIORITY PATTERN
# What "mark" has left out does not count. The journal takes the lines of a stream when it comes to it.
has_line() {
  local i
  for ((i = 0; i < 100; ++i)); do
    journalctl --sync
    # The whole is read first: grep -q would end it by SIGPIPE.
    journalctl --no-pager --output=cat --unit=vexora-probe --priority="$1..$1" --since="@$since" >/run/lines
    ! grep -q -e "$2" /run/lines || return 0
    sleep 0.1
  done
  return 1
}
# Lines of before are looked at no more.
mark() { since=$(date +%s.%6N); }
since=0

[[ $(of ActiveState) == active ]] || fail "it does not start: $(of Result), $(of ExecMainStatus)"
pid=$(of MainPID)
[[ $(stat --format=%u "/proc/$pid") != 0 ]] || fail "it runs as root"
grep -q '^CapBnd:.0*$' "/proc/$pid/status" || fail "it may get capabilities: $(grep Cap "/proc/$pid/status")"
grep -q '^Seccomp:.2$' "/proc/$pid/status" || fail "its calls are not filtered"
[[ $(status_of /healthz) == 200 && $(status_of /api/status) == 200 ]] || fail "it does not serve"
[[ -d /var/lib/private/vexora/journal ]] || fail "it keeps no journal"
has_line info 'serving on port 8765' || fail "its lines have no priorities"

# A token, as docs/operating.md says.
install -m 600 /dev/null /etc/vexora/secrets/token
vexora-probe token >/etc/vexora/secrets/token
token="Authorization: Bearer $(cat /etc/vexora/secrets/token)"
echo -e '[server]\ntoken_file = "${CREDENTIALS_DIRECTORY}/vexora_token"' >/etc/vexora/probe.d/10-token.toml
systemctl restart vexora-probe || fail "it does not start with a token"
[[ $(status_of /api/status) == 401 ]] || fail "everybody is let in"
[[ $(status_of /api/status --header "$token") == 200 ]] || fail "the token is not taken"

pid=$(of MainPID)
mark
systemctl reload vexora-probe || fail "it does not reload" # which may be before the probe has read a file
has_line info 'the configuration has been taken over' || fail "a reload does nothing"
echo -e '[server]\nprot = 1' >/etc/vexora/probe.d/20-wrong.toml
mark
systemctl reload vexora-probe || fail "a reload of what cannot be used ends the service"
has_line err 'the configuration stays as it was: .*did you mean' || fail "a wrong file is no error"
[[ $(of ActiveState) == active && $(of MainPID) == "$pid" ]] || fail "a reload is a restart"
mark
! systemctl restart vexora-probe 2>/dev/null || fail "it starts with what cannot be used"
[[ $(of ExecMainStatus) == 2 && $(of ActiveState) == failed ]] || fail "it is tried again: $(of ActiveState)"
has_line err '20-wrong.toml:2: server.prot' || fail "the reason has no priority"

rm /etc/vexora/probe.d/20-wrong.toml
systemctl start vexora-probe || fail "it does not start again"
kill -SEGV "$(of MainPID)"
for ((i = 0; i < 300; ++i)); do
  [[ $(of NRestarts) != 1 || $(of ActiveState) != active ]] || break
  sleep 0.1
done
[[ $(of NRestarts) == 1 && $(of ActiveState) == active ]] || fail "it is not restarted after a crash"

# An engine that makes no step for half of the interval. It makes one a minute, so it is stuck for an interval of less.
[[ $(of WatchdogUSec) == 10min ]] || fail "the interval of its signs of life is $(of WatchdogUSec)"
drop_in=/run/systemd/system/vexora-probe.service.d
mkdir -p "$drop_in"
echo -e '[Service]\nWatchdogSec=4s\nRestartSec=100ms' >"$drop_in/watchdog.conf"
systemctl daemon-reload
mark
systemctl restart vexora-probe || fail "it does not start with a short interval"
pid=$(of MainPID)
has_line err 'the engine has been stuck for .* s: the service manager is to restart the probe' ||
  fail "the log does not say that the engine is stuck"
for ((i = 0; i < 300; ++i)); do
  [[ $(of MainPID) == "$pid" || $(of MainPID) == 0 || $(of ActiveState) != active ]] || break
  sleep 0.1
done
[[ $(of MainPID) != "$pid" && $(of ActiveState) == active ]] || fail "a stuck engine is not restarted"
journalctl --sync
journalctl --no-pager --output=cat _PID=1 --since="@$since" >/run/lines
grep -q "^vexora-probe.service: Watchdog timeout" /run/lines && grep -q "Failed with result 'watchdog'" /run/lines ||
  fail "it was not for the watchdog that it was restarted"
rm -r "$drop_in"
systemctl daemon-reload
systemctl restart vexora-probe || fail "it does not start after that"
systemctl stop vexora-probe
[[ $(of Result) == success && $(of ExecMainStatus) == 0 ]] || fail "it stops with $(of ExecMainStatus)"
echo passed >/run/result
systemctl --force --force poweroff
END

# Makes the view, and becomes the service manager in it.
cat >"$folder/boot" <<'END'
set -e
folder=$1
root=$folder/root
mount --make-rprivate /
mount -t tmpfs layers "$folder/layers"
mkdir "$folder/layers/upper" "$folder/layers/work"
mount -t overlay view -o "lowerdir=/,upperdir=$folder/layers/upper,workdir=$folder/layers/work" "$root"
rm -rf "$root/var/lib/vexora" "$root/etc/vexora" "$root"/etc/systemd/system/*.wants "$root"/etc/systemd/system/*.requires
cp -a "$folder/files/." "$root/"
mount -t proc proc "$root/proc"
mount --bind "$root/proc/sys" "$root/proc/sys"
mount -o remount,ro,bind "$root/proc/sys"
mount -t sysfs -o ro sysfs "$root/sys"
mount -t cgroup2 cgroup2 "$root/sys/fs/cgroup"
mount -t tmpfs dev "$root/dev"
for node in null zero full random urandom tty; do
  : >"$root/dev/$node"
  mount --bind "/dev/$node" "$root/dev/$node"
done
mkdir "$root/dev/shm" "$root/dev/pts" "$root/dev/mqueue" "$root/dev/hugepages"
mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
ln -s pts/ptmx "$root/dev/ptmx"
ln -s /proc/self/fd "$root/dev/fd"
mount -t tmpfs run "$root/run"
mount -t tmpfs tmp "$root/tmp"
mkdir -p "$root/run/log/journal"
for file in result output; do
  : >"$root/run/$file"
  : >>"$folder/$file"
  mount --bind "$folder/$file" "$root/run/$file"
done
: >"$root/etc/fstab"
units=$root/etc/systemd/system
# What concerns the machine and not the service stays off.
for unit in systemd-udevd.service systemd-udev-trigger.service systemd-modules-load.service systemd-sysctl.service \
  systemd-random-seed.service systemd-binfmt.service systemd-hwdb-update.service systemd-remount-fs.service \
  systemd-sysusers.service ldconfig.service networking.service sys-kernel-debug.mount sys-kernel-tracing.mount \
  dev-hugepages.mount dev-mqueue.mount proc-sys-fs-binfmt_misc.automount; do
  ln -sf /dev/null "$units/$unit"
done
cat >"$units/service-test.service" <<'UNIT'
[Unit]
After=vexora-probe.service
[Service]
ExecStart=/bin/bash /usr/vexora-service-test
StandardOutput=append:/run/output
StandardError=inherit
UNIT
printf '[Unit]\nWants=vexora-probe.service service-test.service\n' >"$units/service-test.target"
cd "$root"
mkdir -p old
pivot_root . old
umount -l /old
mount --make-rshared / # the service manager hands credentials over by a mount
exec env -i container=vexora PATH=/usr/sbin:/usr/bin:/sbin:/bin \
  /lib/systemd/systemd --system --unit=service-test.target --log-target=journal --show-status=no
END

mkdir "$group"
(
  echo "$BASHPID" >"$group/cgroup.procs"
  exec timeout --kill-after=5 120 unshare --mount --pid --fork --kill-child --cgroup --uts --ipc --net \
    bash "$folder/boot" "$folder"
) >"$folder/log" 2>&1 &
manager=$!
wait "$manager" || true
manager=
cat "$folder/output"
[[ $(cat "$folder/result") == passed ]] || {
  tail -n 20 "$folder/log"
  echo "service: the unit does not work under a service manager"
  exit 1
}
echo "service: a service manager started, reloaded, restarted and stopped the unit"
