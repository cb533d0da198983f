#!/usr/bin/env bash
# lint.sh [format|tidy]: checks the layout of every source with clang-format, and the library's sources with clang-tidy.
# With an argument, does only one of the two.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

rooms=(platform protocol registry servers api)
what=${1-both}
case $what in
  both | format | tidy) ;;
  *)
    echo "usage: scripts/lint.sh [format|tidy]" >&2
    exit 2
    ;;
esac

check_format() {
  git ls-files -z -- '*.h' '*.c' '*.cpp' | xargs -0 clang-format --dry-run --Werror
}

check_tidy() {
  cmake -S . -B build/lint -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_C_COMPILER=clang >build/lint.log || { cat build/lint.log && return 1; }
  git ls-files -z -- "${rooms[@]/%//*.cpp}" |
    xargs -0 --max-args=1 --max-procs="$(nproc)" clang-tidy -p build/lint --quiet
}

install_packages "for the checks" "${packages_build[@]}" "${packages_clang[@]}" "${packages_lint[@]}"
mkdir -p build
failed=()
if [ "$what" != tidy ]; then check_format || failed+=(clang-format); fi
if [ "$what" != format ]; then check_tidy || failed+=(clang-tidy); fi
if [ ${#failed[@]} -gt 0 ]; then
  echo "lint.sh: FAILED: ${failed[*]}" >&2
  exit 1
fi
echo "lint.sh: nothing found"
