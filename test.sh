#!/usr/bin/env bash
# Builds tavlib and runs its tests. Options: see usage.
set -eu

cd "$(dirname "$0")"
. scripts/packages.sh
. scripts/cross.sh

other_hosts=(i386 s390x)
presets=(release debug asan tsan release-clang debug-clang asan-clang tsan-clang)

usage() {
  cat <<END
usage: ./test.sh [--preset NAME] [FILTER]

Installs what is missing, builds in build/NAME and runs the tests with CTest. CTest's summary comes last.

Without arguments, the tests of two other hosts follow: ${other_hosts[*]}. One has 32 bits, one the other byte order.
Debian's cross compilers build them in build/HOST, and they run under an emulator where needed. A table shows the
results. A host whose packages cannot be downloaded is left out, and one whose programs this machine cannot run is
only built; the table says so.

  --preset NAME  one of: ${presets[*]}
                 (default release; asan is AddressSanitizer and UndefinedBehaviorSanitizer, tsan ThreadSanitizer)
  FILTER         run only the test programs whose names match this regular expression
  -h, --help     print this and exit

Exit codes: 0 every test that ran passed, 2 wrong argument, anything else: a failure.
END
}

refuse() {
  echo "test.sh: $1" >&2
  usage >&2
  exit 2
}

is_preset() {
  local known
  for known in "${presets[@]}"; do
    if [ "$1" = "$known" ]; then return 0; fi
  done
  return 1
}

everywhere=no
if [ $# -eq 0 ]; then everywhere=yes; fi
preset=release
filter=
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit 0
      ;;
    --preset)
      if [ $# -lt 2 ]; then refuse "--preset needs a name"; fi
      preset=$2
      shift
      ;;
    --preset=*) preset=${1#*=} ;;
    -*) refuse "unknown option $1" ;;
    *)
      if [ -n "$filter" ]; then refuse "more than one filter: $1"; fi
      if [ -z "$1" ]; then refuse "empty filter"; fi
      filter=$1
      ;;
  esac
  shift
done
if ! is_preset "$preset"; then refuse "unknown preset $preset"; fi

packages=("${packages_build[@]}" "${packages_tools[@]}" "${packages_tests[@]}")
case $preset in
  *-clang) packages+=("${packages_clang[@]}") ;;
  *) packages+=("${packages_gcc[@]}") ;;
esac
case $preset in
  asan-clang | tsan-clang) packages+=("${packages_clang_sanitizers[@]}") ;;
esac
case $preset in
  release | release-clang) packages+=("${packages_fuzz[@]}") ;;
esac
if [ "$everywhere" = yes ]; then
  mapfile -t -O ${#packages[@]} packages < <(cross_packages "${other_hosts[@]}")
fi
install_packages "for the preset $preset" "${packages[@]}"

cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" ${filter:+--tests-regex "$filter"}

if [ "$everywhere" = no ]; then exit; fi
failed=0
for host in "${other_hosts[@]}"; do
  if ! cross_sysroot "$host"; then
    suite_left_out Release "$host" g++ "what its tests take cannot be downloaded"
    continue
  fi
  suite Release "build/$host" "$host" g++ 2 -DCMAKE_BUILD_TYPE=Release \
    -DTAVLIB_TAVSIM="$PWD/build/release/tools/tavsim/tavsim" || failed=1
done
suite_table
exit "$failed"
