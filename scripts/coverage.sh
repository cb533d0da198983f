#!/usr/bin/env bash
# coverage.sh [BUILD]: measures which lines and branches of the library the test programs run. Builds in BUILD, by
# default build/coverage.
#
# Fails when too little is covered, and when scripts/coverage/explained.txt does not explain a line that no test runs.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

if [ $# -gt 1 ] || [[ "${1-}" == -* ]] || [ "${1-unset}" = "" ]; then
  echo "usage: scripts/coverage.sh [BUILD]" >&2
  exit 2
fi
build=${1-build/coverage}

install_packages "to measure coverage" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}" \
  "${packages_tests[@]}" "${packages_coverage[@]}"

CC=gcc CXX=g++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTAVLIB_COVERAGE=ON
cmake --build "$build"

objects=$build/CMakeFiles/tavlib_objects.dir
find "$objects" -name '*.gcda' -delete
mapfile -t programs < <(find "$build/tests" -type f -executable -name '*_tests' | sort)
for program in "${programs[@]}"; do
  if ! timeout 300 "$program" --gtest_brief=1; then
    echo "coverage.sh: FAILED: $program" >&2
    exit 1
  fi
done

# Branches that only an exception takes, and those that the compiler adds without a line, show nothing about the tests.
gcovr --root . --filter '(platform|protocol|registry|servers|api|include)/' --exclude-throw-branches \
  --exclude-unreachable-branches --json "$build/coverage.json" "$objects"
python3 scripts/coverage/judge.py "$build/coverage.json" scripts/coverage/explained.txt
