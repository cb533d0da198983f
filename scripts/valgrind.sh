#!/usr/bin/env bash
# valgrind.sh [PROGRAM...]: runs the test programs, or only those named, under valgrind's memory checker. An example of
# a name is protocol_tests.
#
# Any error or leak fails a program. Programs that a test starts run without valgrind.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh

install_packages "for valgrind" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}" \
  "${packages_tests[@]}" "${packages_valgrind[@]}"

cmake --preset debug
cmake --build --preset debug

if [ $# -eq 0 ]; then
  mapfile -t programs < <(find build/debug/tests -type f -executable -name '*_tests' | sort)
else
  programs=()
  for name in "$@"; do
    mapfile -t found < <(find build/debug/tests -type f -executable -name "$name")
    programs+=("${found[@]}")
  done
fi
if [ ${#programs[@]} -eq 0 ]; then
  echo "valgrind.sh: no such test program" >&2
  exit 2
fi

failed=()
for program in "${programs[@]}"; do
  printf '\n==== %s ====\n' "$program"
  # The programs that make allocations fail have an operator new of their own, which valgrind would replace.
  valgrind --quiet --soname-synonyms=somalloc=nouserintercepts --error-exitcode=1 --leak-check=full \
    --errors-for-leak-kinds=definite,indirect,possible --trace-children=no --child-silent-after-fork=yes \
    "$program" --gtest_brief=1 || failed+=("$program")
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "valgrind.sh: FAILED: ${failed[*]}" >&2
  exit 1
fi
echo "valgrind.sh: ${#programs[@]} programs without an error"
