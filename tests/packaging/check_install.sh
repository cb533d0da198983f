#!/bin/sh
# Installs the build into a temporary folder and builds hosts against what is there: a CMake project with
# find_package, and plain compiler calls.
#
#   check_install.sh SOURCE_FOLDER BUILD_FOLDER CMAKE C_COMPILER CXX_COMPILER [FLAG...]
#
# The flags are those that the library needs of its hosts: none, a sanitizer's, or another host's. TAVTEST_EMULATOR is
# what runs programs, when this machine itself does not.
set -eu
source=$1 build=$2 cmake=$3 cc=$4 cxx=$5
shift 5
consumer=$source/tests/packaging/consumer
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
prefix=$folder/prefix

say() { echo "-- $*"; }
# shellcheck disable=SC2086  # the emulator has arguments
run() { ${TAVTEST_EMULATOR-} "$@"; }
needs() { readelf -d "$1" | grep -q 'NEEDED.*\[libtavlib\.so\.1\]'; }

say install
"$cmake" --install "$build" --prefix "$prefix" > "$folder/install.log"
lib=$(dirname "$(find "$prefix" -name libtavlib.so)")
[ -e "$lib/libtavlib.so.1" ] && [ -f "$lib/libtavlib.a" ]
(cd "$source/include" && find . -type f | sort) > "$folder/wanted"
(cd "$prefix/include" && find . -type f | sort) | diff "$folder/wanted" -

say "a project with find_package"
CXX=$cxx CXXFLAGS="$*" "$cmake" -S "$consumer" -B "$folder/consumer" "-DCMAKE_PREFIX_PATH=$prefix" > "$folder/log" ||
  { cat "$folder/log"; exit 1; }
"$cmake" --build "$folder/consumer" > "$folder/log" || { cat "$folder/log"; exit 1; }
run "$folder/consumer/with_shared"
run "$folder/consumer/with_static"
needs "$folder/consumer/with_shared"
if needs "$folder/consumer/with_static"; then
  echo "the static library is not what with_static uses"
  exit 1
fi

say "plain compiler calls"
warnings='-Wall -Wextra -pedantic -Werror'
"$cxx" "$@" -std=c++17 $warnings "$consumer/host.cpp" "-I$prefix/include" "-L$lib" -ltavlib -o "$folder/cxx_shared"
"$cxx" "$@" -std=c++17 $warnings "$consumer/host.cpp" "-I$prefix/include" "$lib/libtavlib.a" -o "$folder/cxx_static"
linker=$cc
if [ $# -gt 0 ]; then linker=$cxx; fi  # which brings the C++ half of clang's sanitizers
"$cc" "$@" -std=c11 $warnings -c "$consumer/host.c" "-I$prefix/include" -o "$folder/host.o"
"$linker" "$@" "$folder/host.o" "-L$lib" -ltavlib -o "$folder/c_shared"
export LD_LIBRARY_PATH="$lib"
run "$folder/cxx_shared"
run "$folder/cxx_static"
run "$folder/c_shared"
needs "$folder/c_shared"
