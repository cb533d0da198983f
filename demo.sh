#!/usr/bin/env bash
# Builds tavlib and shows a gateway that asks TAV servers on loopback who is at an address.
#
# It leaves only the folder build/, and the packages that it says it installs.
set -eu

cd "$(dirname "$0")"
. scripts/packages.sh

if [ $# -gt 0 ]; then
  echo "usage: ./demo.sh" >&2
  exit 2
fi

install_packages "for the demo" "${packages_build[@]}" "${packages_gcc[@]}" "${packages_tools[@]}"

build=$PWD/build/demo
echo "Building in $build"
mkdir -p "$build"
if ! {
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc \
    -DTAVLIB_CONFIG_FILE="$build/run/tavlib.conf" &&
    cmake --build "$build" --target tavsim gateway lookup lookup_c lookup_dlopen
} >"$build/build.log" 2>&1; then
  cat "$build/build.log" >&2
  echo "demo: the build failed" >&2
  exit 1
fi

if scripts/with_servers.sh "$build/tools/tavsim/tavsim" "$build/run" scripts/run_examples.sh "$build"; then
  echo
  echo "demo: every answer was right"
else
  code=$?
  echo "demo: FAILED" >&2
  exit $code
fi
