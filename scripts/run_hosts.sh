#!/usr/bin/env bash
# run_hosts.sh FOLDER LIBRARY [HOST...]: asks the servers through each of the smallest hosts in FOLDER and compares the
# answers. lookup_dlopen loads LIBRARY. Each further HOST asks for 10.1.0.11 without an argument.
set -eu

folder=$1
library=$2
shift 2

# expect ANSWER HOST ARGUMENT...: runs a host and compares its output.
expect() {
  local expected=$1 host=$2 answer
  shift 2
  if ! answer=$("$folder/$host" "$@"); then
    echo "WRONG: $host failed" >&2
    exit 1
  fi
  printf '  %-13s  %s\n' "$host" "$answer"
  if [ "$answer" != "$expected" ]; then
    echo "WRONG: expected '$expected'" >&2
    exit 1
  fi
}

expect 'ANNA KVIST, ENGINEERING' lookup 10.1.0.11
expect 'FINN O.LEARY, LIBRARY' lookup_c 10.1.7.6
expect 'nobody' lookup_c 10.1.0.13
expect 'GITA RAO, RECEPTION' lookup_dlopen "$library" 10.1.8.1
for host in "$@"; do
  expect 'ANNA KVIST, ENGINEERING' "$host"
done
