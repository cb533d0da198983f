#!/usr/bin/env bash
# with_servers.sh TAVSIM FOLDER COMMAND...: runs a command while two TAV servers serve examples/users.json.
#
# The servers listen on free ports of 127.0.0.1 and 127.0.0.2. FOLDER/tavlib.conf, which the library must have been
# built to read, is written to name both; 127.0.0.1 is the gateway's own. The exit code is the command's.
set -eu

here=$(cd "$(dirname "$0")/.." && pwd)
tavsim=$1
folder=$2
shift 2
gateway_phrase='gateway secret'
branch_phrase='branch secret'
servers=()

# The library opens the machine-wide store. That creates an empty file when the caller may write there. A file that was
# not here before is removed again, unless somebody has put something into it meanwhile.
store=$(getent passwd 0 | cut -d: -f6)/.regfile
if [ -e "$store" ]; then store_was_there=yes; else store_was_there=no; fi

clean_up() {
  local code=$?
  set +e
  if [ ${#servers[@]} -gt 0 ]; then
    kill "${servers[@]}" 2>/dev/null
    wait "${servers[@]}" 2>/dev/null
  fi
  if [ "$store_was_there" = no ] && [ -e "$store" ] && [ ! -s "$store" ]; then rm -f "$store"; fi
  exit $code
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# start_server NAME ADDRESS PHRASE: starts a server on a free port and sets `port` to it.
start_server() {
  local log=$folder/$1.log server tries
  # Made here: the server's own shell may open it only after it was read below, when it could still name the port of an
  # earlier run.
  : >"$log"
  "$tavsim" --address "$2" --port 0 --passphrase "$3" --entries "$here/examples/users.json" --trace >>"$log" 2>&1 &
  server=$!
  servers+=("$server")
  for ((tries = 0; tries < 600; tries++)); do
    port=$(sed -n 's/^tavsim: listening on .*:\([0-9]*\)$/\1/p' "$log")
    if [ -n "$port" ]; then return; fi
    if ! kill -0 "$server" 2>/dev/null; then break; fi
    sleep 0.05
  done
  echo "$0: the server $1 did not start:" >&2
  cat "$log" >&2
  exit 1
}

mkdir -p "$folder"
start_server gateway 127.0.0.1 "$gateway_phrase"
gateway_port=$port
start_server branch 127.0.0.2 "$branch_phrase"
branch_port=$port
cat >"$folder/tavlib.conf" <<END
# Two servers, and which of them is the gateway's own.
[tavlib\\Addresses]
gwtav="127.0.0.1"
[tavlib\\Addresses\\127.0.0.1]
Endpoint=$gateway_port
Passphrase="$gateway_phrase"
[tavlib\\Addresses\\127.0.0.2]
Endpoint=$branch_port
Passphrase="$branch_phrase"
END
echo "TAV servers run on 127.0.0.1:$gateway_port and 127.0.0.2:$branch_port; configuration: $folder/tavlib.conf"

"$@"
