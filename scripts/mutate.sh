#!/usr/bin/env bash
# Breaks the library in many places, one at a time, and counts how often the tests notice. Options: see usage.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

usage() {
  cat <<END
usage: scripts/mutate.sh [--count N] [--seed N] [--room NAME] [--build FOLDER]

Changes one constant, operator, condition, argument or statement of the library at a time, in a copy. Runs the test
programs against each mutant until one fails. Prints how many mutants each room's tests caught. Every survivor needs a
reason in scripts/mutation/survivors.txt.

  --count N       how many mutants, over all rooms (default 300)
  --seed N        which ones are drawn (default 1)
  --room NAME     only this room's share: platform, protocol, registry, servers or api
  --build FOLDER  where the copy is built (default build/mutation)
  -h, --help      print this and exit

Exit codes: 0 every survivor is listed and at least 95 % of all rooms' mutants were caught, 2 wrong argument, anything
else: a failure.
END
}

refuse() {
  echo "mutate.sh: $1" >&2
  usage >&2
  exit 2
}

count=300
seed=1
room=()
build=build/mutation
while [ $# -gt 0 ]; do
  if [ "$1" = -h ] || [ "$1" = --help ]; then
    usage
    exit 0
  fi
  if [ $# -lt 2 ]; then refuse "unknown option, or one without its value: $1"; fi
  case $1 in
    --count) count=$2 ;;
    --seed) seed=$2 ;;
    --room) room=(--room "$2") ;;
    --build) build=$2 ;;
    *) refuse "unknown option $1" ;;
  esac
  shift 2
done
if ! [[ $count =~ ^[1-9][0-9]*$ && $seed =~ ^[0-9]+$ ]]; then refuse "not a number: $count or $seed"; fi
case ${room[1]-api} in
  platform | protocol | registry | servers | api) ;;
  *) refuse "unknown room ${room[1]}" ;;
esac
if [ -z "$build" ]; then refuse "empty folder"; fi

install_packages "to break the library" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}" \
  "${packages_tests[@]}" "${packages_mutation[@]}"
export PYTHONDONTWRITEBYTECODE=1
nice python3 scripts/mutation/mutate.py --count "$count" --seed "$seed" --build "$build" "${room[@]}"
