#!/usr/bin/env bash
# Builds and tests for every host, with both compilers and in both configurations. Options: see usage.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/cross.sh

targets=()
compilers=(g++ clang++)
configurations=(Debug Release)
jobs=$(nproc)

usage() {
  cat <<END_OF_USAGE
usage: scripts/matrix.sh [--compiler NAME] [--config NAME] [--jobs N] [TARGET...]

Installs what is missing and builds library, tools and tests in build/matrix for each TARGET. Runs all their tests, on
this machine or under an emulator, against this machine's own tavsim. A table of the results comes last.

  TARGET           x86_64 ${cross_targets[*]} (default all)
  --compiler NAME  only g++ or clang++
  --config NAME    only Debug or Release. Release is -O2 -flto with the checks of glibc and libstdc++. Even there the
                   tests' own code is not optimised, and clang++ makes powerpc's machine code without optimisation
  --jobs N         compilers and tests that run at a time, 1 to 99 (default $jobs)
  -h, --help       print this and exit

Exit codes: 0 every test passed, 1 something failed, 2 wrong argument.
END_OF_USAGE
}

refuse() {
  echo "matrix.sh: $1" >&2
  usage >&2
  exit 2
}

# one_of WORD KNOWN...: whether WORD is one of the others.
one_of() {
  local word=$1 known
  shift
  for known in "$@"; do
    if [ "$word" = "$known" ]; then return 0; fi
  done
  return 1
}

while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit 0
      ;;
    --compiler | --config | --jobs)
      if [ $# -lt 2 ]; then refuse "$1 needs a value"; fi
      case $1 in
        --compiler)
          one_of "$2" g++ clang++ || refuse "unknown compiler $2"
          compilers=("$2")
          ;;
        --config)
          one_of "$2" Debug Release || refuse "unknown configuration $2"
          configurations=("$2")
          ;;
        --jobs)
          if ! [[ $2 =~ ^[1-9][0-9]?$ ]]; then refuse "--jobs: not a number from 1 to 99: $2"; fi
          jobs=$2
          ;;
      esac
      shift
      ;;
    -*) refuse "unknown option $1" ;;
    *)
      one_of "$1" x86_64 "${cross_targets[@]}" || refuse "unknown target $1"
      targets+=("$1")
      ;;
  esac
  shift
done
if [ ${#targets[@]} -eq 0 ]; then targets=(x86_64 "${cross_targets[@]}"); fi

crossed=()
for target in "${targets[@]}"; do
  if [ "$target" != x86_64 ]; then crossed+=("$target"); fi
  if [ "$target" = powerpc ]; then crossed+=(i386); fi
done
mapfile -t packages < <(cross_packages "${crossed[@]}")
if one_of clang++ "${compilers[@]}"; then packages+=("${packages_clang[@]}" "${packages_clang_lto[@]}"); fi
install_packages "for the matrix" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}" \
  "${packages_tests[@]}" "${packages[@]}" || exit 1

# link_flags_of TARGET COMPILER: the linker flags for optimising while linking, where clang++ 14 needs help.
link_flags_of() {
  case $1-$2 in
    # The usual linker fails on this compiler's code for this host ("nonrepresentable section on output") or crashes.
    # Without the option, gold also looks for the tests' wraps of system calls for the calls that libcrypto makes.
    armhf-clang++) echo -fuse-ld=gold -Wl,--allow-shlib-undefined ;;
    # It does not record for the unwinder where a function has saved the fields of the condition register that outlive
    # calls, so catching an exception changes the conditions of callers. Machine code that is made without optimisation,
    # even of code that was optimised before, keeps none in these fields.
    powerpc-clang++) echo -Wl,-plugin-opt=O0 ;;
  esac
}

# options_of TARGET COMPILER CONFIGURATION: the further options for CMake.
options_of() {
  local prefix='' lto=-flto kind
  echo "-DCMAKE_BUILD_TYPE=$3"
  if [ "$3" = Release ]; then
    for kind in EXE SHARED MODULE; do
      echo "-DCMAKE_${kind}_LINKER_FLAGS_RELEASE=$(link_flags_of "$1" "$2")"
    done
    if [ "$2" = g++ ]; then lto=-flto=auto; fi
    echo "-DCMAKE_C_FLAGS_RELEASE=-O2 $lto -D_FORTIFY_SOURCE=2"
    echo "-DCMAKE_CXX_FLAGS_RELEASE=-O2 $lto -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS"
    if [ "$1" != x86_64 ]; then prefix=$(cross_compiler "$1")-; fi
    if [ "$2" = clang++ ]; then
      echo "-DCMAKE_AR=$(command -v llvm-ar)"
      echo "-DCMAKE_NM=$(command -v llvm-nm)"
      echo "-DCMAKE_RANLIB=$(command -v llvm-ranlib)"
    else
      echo "-DCMAKE_AR=$(command -v "${prefix}gcc-ar")"
      echo "-DCMAKE_NM=$(command -v "${prefix}gcc-nm")"
      echo "-DCMAKE_RANLIB=$(command -v "${prefix}gcc-ranlib")"
    fi
  fi
}

# The server that every target's tests talk to, and the recorder of libcrypto's answers to it.
native=build/matrix/native
served=-DTAVLIB_TAVSIM=$PWD/$native/tools/tavsim/tavsim
cmake -S . -B "$native" -G Ninja -DCMAKE_BUILD_TYPE=Release &&
  cmake --build "$native" --parallel "$jobs" --target tavsim tavlib_vectors_recorder || exit 1

# record_vectors COMPILER CONFIGURATION: records libcrypto's answers to the tests of i386, for powerpc, for which Debian
# has none. Numbers have as many bits on both, so the same calls fail in the torture tests and the same packets follow.
record_vectors() {
  local folder=build/matrix/i386-$1-$2 options
  mapfile -t options < <(options_of i386 "$1" "$2")
  cross_sysroot i386 && suite_build "$folder" i386 "$1" "$jobs" "$served" "${options[@]}" &&
    suite_record "$folder" i386 "$jobs" "$native"
}

# run TARGET COMPILER CONFIGURATION: one row of the table. Fails when anything failed.
run() {
  local target=$1 compiler=$2 configuration=$3 options
  if [ "$target" != x86_64 ] && ! cross_sysroot "$target"; then
    suite_left_out "$configuration" "$target" "$compiler" "what its tests take cannot be downloaded"
    return 1
  fi
  mapfile -t options < <(options_of "$target" "$compiler" "$configuration")
  if [ "$target" = powerpc ]; then
    if ! record_vectors "$compiler" "$configuration"; then
      suite_left_out "$configuration" "$target" "$compiler" "its vectors could not be recorded with the tests of i386"
      return 1
    fi
    options+=("-DTAVLIB_VECTORS=$PWD/build/matrix/i386-$compiler-$configuration/vectors")
  fi
  suite "$configuration" "build/matrix/$target-$compiler-$configuration" "$target" "$compiler" "$jobs" "$served" \
    "${options[@]}"
}

failed=0
for target in "${targets[@]}"; do
  for compiler in "${compilers[@]}"; do
    for configuration in "${configurations[@]}"; do
      run "$target" "$compiler" "$configuration" || failed=1
    done
  done
done
suite_table
exit "$failed"
