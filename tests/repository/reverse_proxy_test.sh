#!/usr/bin/env bash

# Runs the reverse proxy of docs/security.md, as it stands there, before a probe: reverse_proxy_test.sh BIN-FOLDER
set -euo pipefail
bin=$1
document=$(dirname "${BASH_SOURCE[0]}")/../../docs/security.md

fail() {
  echo "reverse proxy: $*" >&2
  exit 1
}

folder=$(mktemp -d)
started=()
cleanup() {
  ((${#started[@]} == 0)) || { kill "${started[@]}" && wait "${started[@]}"; } 2>/dev/null || true
  rm -rf "$folder"
}
trap cleanup EXIT

# A block of the document, by its language.
block() {
  sed -n "/^## Behind a reverse proxy/,\$ { /^\`\`\`$1/,/^\`\`\`\$/ { /^\`\`\`/d; p } }" "$document"
}

# A port that is free at the moment.
proxy_port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')

token=$("$bin/vexora-probe" token)
(umask 077 && echo "$token" >"$folder/token")
# With a port other than that of https, a Host names it, too.
block toml | sed "s#/etc/vexora/token#$folder/token#
  s#\"probe.example.org\"#\"probe.example.org:$proxy_port\", \"localhost:$proxy_port\"#" >"$folder/probe.toml"
grep -q "$folder/token" "$folder/probe.toml" || fail "the document names no token"
: >"$folder/probe.log" # read before the probe may have opened it
"$bin/vexora-probe" --config "$folder/probe.toml" --no-journal --simulated --speed 3600 --port 0 >"$folder/probe.log" 2>&1 &
started+=($!)
port=
for ((i = 0; i < 300 && ${#port} == 0; ++i)); do
  port=$(sed -n 's/.*serving on port \([0-9]*\).*/\1/p' "$folder/probe.log")
  [[ -n $port ]] || sleep 0.1
done
[[ -n $port ]] || fail "the probe does not start: $(cat "$folder/probe.log")"

openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=probe.example.org \
  -addext subjectAltName=DNS:probe.example.org,DNS:localhost -keyout "$folder/probe.key" -out "$folder/probe.crt" 2>/dev/null
{
  echo "worker_processes 1; daemon off; pid $folder/pid; error_log $folder/error.log; events {}"
  echo "http { access_log off;"
  for kind in client_body proxy fastcgi uwsgi scgi; do echo "${kind}_temp_path $folder/$kind;"; done
  block nginx | sed "s#listen 443 ssl;#listen 127.0.0.1:$proxy_port ssl; listen [::1]:$proxy_port ssl;#
    s#/etc/ssl/private/probe.key#$folder/probe.key#; s#/etc/ssl/probe.crt#$folder/probe.crt#; s#127.0.0.1:8765#127.0.0.1:$port#"
  echo "}"
} >"$folder/proxy.conf"
PATH=$PATH:/usr/sbin
nginx -e "$folder/error.log" -p "$folder" -c "$folder/proxy.conf" >"$folder/proxy.log" 2>&1 &
started+=($!)

# The status of an answer to a client at this address: status_for ADDRESS TOKEN PATH [ARGUMENT...]
status_for() {
  local address=$1 secret=$2 path=$3
  shift 3
  curl --silent --cacert "$folder/probe.crt" --resolve "probe.example.org:$proxy_port:$address" --output /dev/null \
    --write-out '%{http_code}' --max-time 20 --header "Authorization: Bearer $secret" "$@" \
    "https://probe.example.org:$proxy_port$path" || true
}

for ((i = 0; i < 100; ++i)); do
  [[ $(status_for 127.0.0.1 "$token" /api/status) != 000 ]] && break
  sleep 0.1
done
status=$(status_for 127.0.0.1 "$token" /api/status)
[[ $status == 200 ]] || fail "/api/status is answered with $status; $(cat "$folder/error.log" "$folder/probe.log")"
status=$(status_for 127.0.0.1 "$token" /api/status --header 'Origin: https://attacker.example')
[[ $status == 403 ]] || fail "a foreign page gets $status"
status=$(status_for 127.0.0.1 "$token" /api/status --header "Origin: https://probe.example.org:$proxy_port")
[[ $status == 200 ]] || fail "a page of the probe's own gets $status"

# Wrong tokens count for the client, whatever it says of itself.
grep -q '^0\{31\}1 ' /proc/net/if_inet6 2>/dev/null || fail "this machine has no second client: ::1"
for ((i = 0; i < 10; ++i)); do
  status=$(status_for ::1 wrong /api/status --header "X-Forwarded-For: 192.0.2.$i")
  [[ $status == 401 ]] || fail "wrong token $i gets $status"
done
status=$(status_for ::1 wrong /api/status --header 'X-Forwarded-For: 192.0.2.99')
[[ $status == 429 ]] || fail "one wrong token too many gets $status"
status=$(status_for 127.0.0.1 wrong /api/status)
[[ $status == 401 ]] || fail "another client's wrong token gets $status"
grep -q 'a client at ::1 was refused' "$folder/probe.log" || fail "the log does not name the client: $(cat "$folder/probe.log")"

# A websocket through it.
timeout 60 "$bin/probe-watch" --url "wss://localhost:$proxy_port" --certificate "$folder/probe.crt" \
  --token-file "$folder/token" --count 2 HealthMonitor >"$folder/messages" || fail "the websocket: $(cat "$folder/messages")"
[[ $(grep -c '"HealthMonitor"' "$folder/messages") == 2 ]] || fail "messages are missing: $(cat "$folder/messages")"
