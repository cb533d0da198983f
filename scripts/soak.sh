#!/usr/bin/env bash
# Looks users up over a hostile network, millions of times. Options: see usage.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

usage() {
  cat <<END
usage: scripts/soak.sh [--lookups N] [--seed S]

Builds in build/release and makes N look-ups at a server process that loses, delays, repeats, reorders, corrupts and
forges replies. Compares every answer with the server's entries. Prints the resident size at the start, after the
warm-up and at each tenth of the look-ups. Prints at the end how the look-ups ended.

  --lookups N  look-ups to make, 20 or more (default 10 million)
  --seed S     seed of addresses and faults (default 1)
  -h, --help   print this and exit

Exit codes:
  0  all is well
  1  an answer was wrong, most look-ups were not answered, or memory grew by more than 1024 KiB after the warm-up
  2  wrong argument
  anything else: a failure
END
}

refuse() {
  echo "soak.sh: $1" >&2
  usage >&2
  exit 2
}

lookups=10000000
seed=1
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit 0
      ;;
    --lookups | --seed)
      if [ $# -lt 2 ]; then refuse "$1 needs a number"; fi
      if ! [[ $2 =~ ^[0-9]{1,12}$ ]]; then refuse "$1: not a number, or too large: $2"; fi
      if [ "$1" = --seed ]; then seed=$2; else lookups=$2; fi
      shift
      ;;
    *) refuse "unknown argument $1" ;;
  esac
  shift
done
if [ "$((10#$lookups))" -lt 20 ]; then refuse "--lookups: fewer than 20: $lookups"; fi

install_packages "for the soak" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}" \
  "${packages_tests[@]}"

cmake --preset release
cmake --build --preset release --target tavlib_soak
build/release/tests/faults/network/tavlib_soak --lookups "$((10#$lookups))" --seed "$((10#$seed))"
