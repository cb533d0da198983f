#!/usr/bin/env bash
# Looks for inputs that break the library. Options: see usage.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

build=build/fuzz
corpus=tests/fuzz/corpus
mapfile -t known < <(find "$corpus" -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | sort)

usage() {
  cat <<END
usage: scripts/fuzz.sh --minutes N [TARGET...]

Installs what is missing and builds the fuzzers in $build. Runs each target, or only those named, for N minutes of
processor time, one after the other.

Further runs start from what earlier ones came across, which is kept in $build/corpus. An input that shows a defect is
kept in $corpus/TARGET. From then on the tests try it.

  --minutes N  a whole number of minutes, at least 1
  TARGET       one of: ${known[*]}
  -h, --help   print this and exit

Exit codes: 0 nothing found, 1 something found, 2 wrong argument, anything else: a failure.
END
}

refuse() {
  echo "fuzz.sh: $1" >&2
  usage >&2
  exit 2
}

is_known() {
  local target
  for target in "${known[@]}"; do
    if [ "$1" = "$target" ]; then return 0; fi
  done
  return 1
}

minutes=
targets=()
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit 0
      ;;
    --minutes)
      if [ $# -lt 2 ]; then refuse "--minutes needs a number"; fi
      minutes=$2
      shift
      ;;
    --minutes=*) minutes=${1#*=} ;;
    -*) refuse "unknown option $1" ;;
    *)
      if ! is_known "$1"; then refuse "unknown target $1"; fi
      targets+=("$1")
      ;;
  esac
  shift
done
if [ -z "$minutes" ]; then refuse "--minutes is missing"; fi
if [[ ! $minutes =~ ^[1-9][0-9]{0,5}$ ]]; then refuse "not a number of minutes: $minutes"; fi
if [ ${#targets[@]} -eq 0 ]; then targets=("${known[@]}"); fi

install_packages "to fuzz" "${packages_build[@]}" "${packages_tools[@]}" "${packages_tests[@]}" "${packages_fuzz[@]}"

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -gline-tables-only" \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DTAVLIB_WARNINGS_AS_ERRORS=ON \
  -DTAVLIB_SANITIZE=address,undefined,fuzzer-no-link
cmake --build "$build" --target fuzzers

# The targets' own files, in memory where the system has such a folder.
shared_memory=/dev/shm
if [ ! -w "$shared_memory" ]; then shared_memory=${TMPDIR-/tmp}; fi
TMPDIR=$(mktemp -d -p "$shared_memory" tavlib-fuzz-XXXXXX)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

# One run of a target for some seconds of real time. Sets its exit code, processor seconds and real seconds.
run_once() {
  local target=$1 seconds=$2 log=$3 work=$build/corpus/$1 options=() TIMEFORMAT='%U %S %R'
  case $target in
    registry_* | configuration) options=(-dict=tests/fuzz/registry.dict) ;;
  esac
  exit_code=0
  { time "$build/fuzzers/fuzz_$target" -max_total_time="$seconds" -max_len=9000 -timeout=25 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$build/found/$target/" "${options[@]}" "$work" "$corpus/$target" \
    >"$log" 2>&1; } 2>"$log.time" || exit_code=$?
  used=$(awk '{ print int($1 + $2 + 0.5) }' "$log.time")
  elapsed=$(awk '{ print int($3 + 0.5) }' "$log.time")
}

# The last number after `label` in the log, or 0.
last_number() {
  local label=$1
  awk -v label="$label" '{ for (i = 1; i < NF; i++) if ($i == label) n = $(i + 1) } END { print n + 0 }' "$log"
}

# Keeps what a run of the target found in the tests' corpus. Sets the number of findings.
keep_findings() {
  local target=$1 input
  findings=0
  for input in "$build/found/$target"/{crash,leak,timeout,oom}-*; do
    if [ ! -e "$input" ]; then continue; fi
    findings=$((findings + 1))
    cp "$input" "$corpus/$target/"
    echo "fuzz.sh: FOUND: $corpus/$target/${input##*/}; fuzz_${target} says why:" >&2
    grep -m 3 -E 'not as it must be|ERROR: |SUMMARY: |runtime error' "$log" >&2 || tail -n 5 "$log" >&2
  done
}

# Runs a target until it has used its processor time, and adds its line to the table.
fuzz() {
  local target=$1 log spent=0 executions=0 coverage=0 round=0 budget=$((minutes * 60)) slowness=1
  rm -rf "$build/found/$target"
  mkdir -p "$build/found/$target" "$build/corpus/$target" "$build/log"
  echo "Fuzzing $target"
  findings=0
  while [ $spent -lt $budget ] && [ $findings -eq 0 ]; do
    round=$((round + 1))
    log=$build/log/$target.$round
    run_once "$target" $(((budget - spent) * slowness)) "$log"
    keep_findings "$target"
    if [ $exit_code -ne 0 ] && [ $findings -eq 0 ]; then
      tail -n 20 "$log" >&2
      echo "fuzz.sh: fuzz_$target ended with $exit_code and left no input" >&2
      exit 3
    fi
    used=$((used > 0 ? used : 1))
    spent=$((spent + used))
    # On a busy machine the next run is given more real time, but never so much that it goes on for long if that ends.
    slowness=$((elapsed / used))
    slowness=$((slowness < 1 ? 1 : slowness > 4 ? 4 : slowness))
    executions=$((executions + $(last_number stat::number_of_executed_units:)))
    coverage=$(last_number cov:)
  done
  total=$((total + findings))
  table+=("$(printf '%-16s %8d %12d %8d %6d %7d %8d' "$target" "$spent" "$executions" $((executions / spent)) \
    "$coverage" "$(find "$build/corpus/$target" "$corpus/$target" -type f | wc -l)" "$findings")")
}

table=()
total=0
for target in "${targets[@]}"; do fuzz "$target"; done

printf '\n%-16s %8s %12s %8s %6s %7s %8s\n' target 'cpu s' executions 'per s' edges corpus findings
printf '%s\n' "${table[@]}"
if [ $total -gt 0 ]; then
  echo "fuzz.sh: FAILED: $total found" >&2
  exit 1
fi
