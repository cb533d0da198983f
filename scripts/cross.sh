# shellcheck shell=bash disable=SC2034,SC2154  # packages.sh sets what is used, and the scripts use what is set here
# Builds and tests for this host and for others, and counts the results. Sourced by test.sh and matrix.sh, which run in
# the top folder, after packages.sh.
#
# The other hosts' compilers are Debian's cross compilers; what they build runs under qemu-user, i386 natively. Their
# tests talk to this machine's own tavsim.

cross_targets=(i386 aarch64 armhf s390x powerpc)

# cross_compiler TARGET: the start of the names of its cross compilers.
cross_compiler() {
  case $1 in
    i386) echo i686-linux-gnu ;;
    armhf) echo arm-linux-gnueabihf ;;
    *) echo "$1-linux-gnu" ;;
  esac
}

# cross_runs TARGET: whether this machine runs the target's programs. Those of i386 need a kernel that takes them.
cross_runs() {
  local probe=build/sysroot/$1/probe
  if [ "$1" != i386 ]; then return 0; fi
  mkdir -p "${probe%/*}"
  echo 'int main(void) { return 0; }' | "$(cross_compiler "$1")-gcc" -x c -static -o "$probe" - || return 1
  "$probe" 2>/dev/null
}

# cross_packages TARGET...: the packages that this machine needs to build for them and to run what was built.
cross_packages() {
  local target
  printf '%s\n' "${packages_cross[@]}"
  for target in "$@"; do
    echo "g++-$(cross_compiler "$target")"
  done
}

# cross_fetch TARGET ARCHITECTURE PACKAGE...: unpacks Debian's packages of that architecture in TARGET's sysroot. The
# apt that finds them uses this machine's sources and keys, but a state of its own. So this machine's packages and
# architectures stay as they are.
cross_fetch() {
  local sysroot=$PWD/build/sysroot/$1 architecture=$2 apt package options
  shift 2
  apt=$sysroot/apt
  mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial" "$apt/packages"
  touch "$apt/status"
  options=(-q -o Acquire::Retries=3 -o "APT::Architecture=$architecture" -o "APT::Architectures::=$architecture"
    -o "APT::Sandbox::User=$(id -un)" -o "Dir::State=$apt" -o "Dir::State::status=$apt/status" -o "Dir::Cache=$apt/cache")
  # A list that a mirror cannot give need not be one of the lists needed. What is missing fails the download.
  if ! apt-get "${options[@]}" update; then
    echo "$0: not every list of Debian's packages for $architecture could be fetched; going on with those that are there" >&2
  fi
  (cd "$apt/packages" && apt-get "${options[@]}" download "$@") || return 1
  for package in "$apt/packages"/*.deb; do
    dpkg -x "$package" "$sysroot" || return 1
  done
  rm -rf "$apt"
}

# cross_sysroot TARGET: fetches what its tools and tests need besides the compiler's own libraries, in
# build/sysroot/TARGET. Fails when that cannot be downloaded. Debian has no packages for powerpc. It takes the headers
# of s390x, which has the same byte order and so the same locale, but not its libcrypto.
cross_sysroot() {
  local target=$1 sysroot=build/sysroot/$1 architecture=$1 include
  if [ -e "$sysroot/complete" ]; then return; fi
  case $target in
    aarch64) architecture=arm64 ;;
    powerpc) architecture=s390x ;;
  esac
  rm -rf "$sysroot"
  cross_fetch "$target" "$architecture" "${packages_sysroot[@]}" || return 1
  # In one folder of headers, so that it need not be named by architecture.
  for include in "$sysroot"/usr/include/*-linux-gnu*; do
    cp -Rp "$include/." "$sysroot/usr/include"
  done
  touch "$sysroot/complete"
}

# suite_configure FOLDER TARGET COMPILER CMAKE_OPTION...: prepares FOLDER for building TARGET, which is x86_64 or one of
# cross_targets, with g++ or clang++.
suite_configure() {
  local folder=$1 target=$2 compiler=$3 options c_compiler=gcc
  shift 3
  options=(-DTAVLIB_WARNINGS_AS_ERRORS=ON "$@")
  if [ "$target" != x86_64 ]; then
    options+=(--toolchain "$PWD/cmake/cross.cmake" -DTAVLIB_TARGET="$target" -DTAVLIB_SYSROOT="$PWD/build/sysroot/$target")
    if [ "$compiler" = clang++ ]; then options+=(-DTAVLIB_CLANG=ON); fi
  else
    if [ "$compiler" = clang++ ]; then c_compiler=clang; fi
    options+=(-DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_C_COMPILER="$c_compiler")
  fi
  cmake -S . -B "$folder" -G Ninja "${options[@]}"
}

# suite_test FOLDER TARGET JOBS: runs the tests and writes their results to FOLDER/results.
suite_test() {
  local folder=$1 target=$2 jobs=$3 environment=() modules
  rm -rf "$folder/results"
  mkdir -p "$folder/results/programs"
  if [ "$target" != x86_64 ]; then
    modules=$(echo "$PWD/build/sysroot/$target/usr/lib"/*/ossl-modules)
    environment=("OPENSSL_MODULES=$modules" "LOCPATH=$PWD/build/sysroot/$target/usr/lib/locale")
  fi
  env "${environment[@]}" GTEST_OUTPUT="xml:$PWD/$folder/results/programs/" \
    ctest --test-dir "$folder" --parallel "$jobs" --output-on-failure --no-tests=error \
    --output-junit "$PWD/$folder/results/ctest.xml"
}

# suite_record FOLDER TARGET JOBS NATIVE: runs the tests and keeps libcrypto's answers to them in FOLDER/vectors, for a
# target for which Debian has no libcrypto. NATIVE is a build for x86_64. The tests start programs of that host, too,
# and for each program the loader takes the recorder in the folder of its own host. Fails when a test fails.
suite_record() {
  local folder=$1 target=$2 jobs=$3 native=$4 recorders=$1/recorders recorder=tests/vectors/libtavlib_vectors_recorder.so
  install -D "$folder/$recorder" "$recorders/lib/$target-linux-gnu/recorder.so" || return 1
  install -D "$native/$recorder" "$recorders/lib/x86_64-linux-gnu/recorder.so" || return 1
  rm -f "$folder/answers"
  # shellcheck disable=SC2016  # the loader replaces $LIB
  LD_PRELOAD="$PWD/$recorders"'/$LIB/recorder.so' TAVTEST_RECORD="$PWD/$folder/answers" \
    suite_test "$folder" "$target" "$jobs" || return 1
  LC_ALL=C sort -u "$folder/answers" >"$folder/vectors" && rm "$folder/answers"
}

# suite_count FOLDER: how many tests the last suite_test ran, and how many of them passed, were skipped and failed. Each
# case that a program reports is one test. A program that reports nothing, or fails without a failing case, is one test.
suite_count() {
  local programs
  mapfile -t programs < <(find "$1/results/programs" -name '*.xml')
  awk '
    function attribute(name) {
      if (!match($0, " " name "=\"[^\"]*\"")) return ""
      return substr($0, RSTART + length(name) + 3, RLENGTH - length(name) - 4)
    }
    /<testsuites / {
      program = FILENAME
      gsub(/.*\/|\.xml$/, "", program)
      failures[program] = attribute("failures")
      failed += failures[program]
    }
    !/<testcase / { next }
    FILENAME ~ /programs\/[^\/]*$/ {
      if (attribute("status") != "run") next
      ++tests
      if (attribute("result") == "skipped") ++skipped
      next
    }
    {
      name = attribute("name")
      status = attribute("status")
      if (name in failures && (status != "fail" || failures[name] > 0)) next
      ++tests
      if (status == "disabled") ++skipped
      else if (status != "run") ++failed
    }
    END { print tests + 0, tests - skipped - failed, skipped + 0, failed + 0 }
  ' "${programs[@]}" "$1/results/ctest.xml"
}

suite_heading='target compiler config tests passed skipped failed build test result'
suite_rows=()

# suite_build FOLDER TARGET COMPILER JOBS CMAKE_OPTION...: configures and builds.
suite_build() {
  local folder=$1 target=$2 compiler=$3 jobs=$4
  shift 4
  suite_configure "$folder" "$target" "$compiler" "$@" && cmake --build "$folder" --parallel "$jobs"
}

# suite NAME FOLDER TARGET COMPILER JOBS CMAKE_OPTION...: configures, builds and tests, adds a row to suite_rows, and
# fails when any of it failed. NAME is the configuration's. Where this machine cannot run the target's programs they are
# built alone, and the row says so.
suite() {
  local name=$1 folder=$2 target=$3 compiler=$4 jobs=$5 counts='0 0 0 0' started=$SECONDS built result=failed
  shift 5
  printf '\n---- %s, %s, %s ----\n' "$target" "$compiler" "$name"
  if suite_build "$folder" "$target" "$compiler" "$jobs" "$@"; then
    built=$SECONDS
    if ! cross_runs "$target"; then
      echo "$0: NOT RUN: this machine does not run programs for $target" >&2
      result='built only'
    else
      if suite_test "$folder" "$target" "$jobs"; then result=passed; fi
      counts=$(suite_count "$folder")
    fi
  else
    built=$SECONDS
    result='not built'
  fi
  suite_rows+=("$target $compiler $name $counts $((built - started))s $((SECONDS - built))s $result")
  [ "$result" = passed ] || [ "$result" = 'built only' ]
}

# suite_left_out NAME TARGET COMPILER REASON: adds the row of a suite that cannot be built.
suite_left_out() {
  echo "$0: LEFT OUT: $2: $4" >&2
  suite_rows+=("$2 $3 $1 0 0 0 0 - - left out")
}

# suite_table: the rows so far, under a heading.
suite_table() {
  local row
  echo
  for row in "$suite_heading" "${suite_rows[@]}"; do
    # shellcheck disable=SC2086  # the words are the columns
    printf '%-8s %-9s %-8s %7s %7s %8s %7s %7s %7s  %s %s\n' $row
  done
}
