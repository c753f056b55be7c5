#!/usr/bin/env bash

# Runs three sites, a NATS server and a centre on this machine, until it is interrupted: fleet.sh BIN-FOLDER [PORT]
#
# Everything listens on the loopback and is forgotten at the end. PORT is that of the centre, 8765 unless it is given;
# the sites and the server take free ones.
set -euo pipefail
bin=$1
port=${2-8765}
sites=(north south harbour)
devices=(9 14 40)

folder=$(mktemp -d)
children=()
end() {
  trap - EXIT INT TERM
  ((${#children[@]} == 0)) || kill "${children[@]}" 2>/dev/null || true
  wait || true
  rm -rf "$folder"
}
trap end EXIT
trap 'exit 0' INT TERM

# Debian has it where only root looks for programs.
PATH=$PATH:/usr/sbin
nats-server --addr 127.0.0.1 --port -1 --jetstream --store_dir "$folder/stream" --ports_file_dir "$folder" \
  >"$folder/nats.log" 2>&1 &
children+=($!)
url=
for ((i = 0; i < 100 && ${#url} == 0; ++i)); do
  url=$(sed -n 's/.*"nats": *\[[^"]*"\([^"]*\)".*/\1/p' <(cat "$folder"/*.ports 2>/dev/null | tr -d '\n'))
  [[ -n $url ]] || sleep 0.1
done
[[ -n $url ]] || {
  cat "$folder/nats.log" >&2
  echo "fleet: the NATS server does not start" >&2
  exit 1
}

printf '[stream]\nservers = ["%s"]\n' "$url" >"$folder/centre.toml"
"$bin/vexora-centre" --config "$folder/centre.toml" --port "$port" &
children+=($!)
for i in "${!sites[@]}"; do
  site=${sites[i]}
  printf '[uplink]\nservers = ["%s"]\nsite = "%s"\n[journal]\nstate_directory = "%s"\n[sources.simulated]\nseed = %s\n' \
    "$url" "$site" "$folder/$site" "$((i + 1))" >"$folder/$site.toml"
  "$bin/vexora-probe" --config "$folder/$site.toml" --simulated --devices "${devices[i]}" --speed 60 --no-journal --port 0 \
    >"$folder/$site.log" 2>&1 &
  children+=($!)
done
# The first that ends, ends all.
wait -n "${children[@]}" || exit $?
