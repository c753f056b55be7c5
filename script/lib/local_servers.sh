# shellcheck shell=bash
# For commands that run programs together for a while: once read, there is a temporary folder, `folder`, and whatever is
# added to `children` is killed at the end, when the folder goes, too.

folder=$(mktemp -d)
children=()
end() {
  trap - EXIT INT TERM
  ((${#children[@]} == 0)) || kill "${children[@]}" 2>/dev/null || true
  wait || true
  rm -rf "$folder"
}
trap end EXIT

# Starts a NATS server with streams on the loopback, whose files lie in a folder, with further options, and waits until it
# serves. Leaves its URL in `nats_url`: start_nats_server FOLDER [OPTION...]
nats_url=
start_nats_server() {
  local own=$1 i
  shift
  mkdir -p "$own"
  # Debian has it where only root looks for programs.
  PATH=$PATH:/usr/sbin nats-server --addr 127.0.0.1 --port -1 --jetstream --store_dir "$own/stream" \
    --ports_file_dir "$own" "$@" >"$own/nats.log" 2>&1 &
  children+=($!)
  nats_url=
  for ((i = 0; i < 100 && ${#nats_url} == 0; ++i)); do
    nats_url=$(sed -n 's/.*"nats": *\[[^"]*"\([^"]*\)".*/\1/p' <(cat "$own"/*.ports 2>/dev/null | tr -d '\n'))
    [[ -n $nats_url ]] || sleep 0.1
  done
  [[ -n $nats_url ]] || {
    cat "$own/nats.log" >&2
    echo "the NATS server does not start" >&2
    return 1
  }
}
