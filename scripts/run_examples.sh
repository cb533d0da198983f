#!/usr/bin/env bash
# run_examples.sh BUILD: runs every example of a build folder whose library reads BUILD/run/tavlib.conf. Two servers
# must be running (with_servers.sh). The exit code is 0 when every answer was right.
set -eu

here=$(cd "$(dirname "$0")/.." && pwd)
build=$1

echo
"$build/examples/gateway" "$here/examples/gateway/expected-users.txt"
echo
echo "Who is where, asked by the smallest hosts"
"$here/scripts/run_hosts.sh" "$build/examples" "$build/libtavlib.so.1"
