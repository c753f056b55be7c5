#!/usr/bin/env bash

# Runs three sites, a NATS server and a centre on this machine, until it is interrupted: fleet.sh BIN-FOLDER [PORT]
#
# Everything listens on the loopback and is forgotten at the end. PORT is that of the centre, 8765 unless it is given;
# the sites and the server take free ones.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source script/lib/local_servers.sh
bin=$1
port=${2-8765}
sites=(north south harbour)
devices=(9 14 40)

trap 'exit 0' INT TERM

start_nats_server "$folder/nats"

printf '[stream]\nservers = ["%s"]\n' "$nats_url" >"$folder/centre.toml"
"$bin/vexora-centre" --config "$folder/centre.toml" --port "$port" &
children+=($!)
for i in "${!sites[@]}"; do
  site=${sites[i]}
  printf '[uplink]\nservers = ["%s"]\nsite = "%s"\n[journal]\nstate_directory = "%s"\n[sources.simulated]\nseed = %s\n' \
    "$nats_url" "$site" "$folder/$site" "$((i + 1))" >"$folder/$site.toml"
  "$bin/vexora-probe" --config "$folder/$site.toml" --simulated --devices "${devices[i]}" --speed 60 --no-journal --port 0 \
    >"$folder/$site.log" 2>&1 &
  children+=($!)
done
# The first that ends, ends all.
wait -n "${children[@]}" || exit $?
