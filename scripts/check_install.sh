#!/usr/bin/env bash
# check_install.sh [TAVSIM]: builds and installs as a packager does. Then builds hosts against what was installed, and
# they ask two servers.
#
# The library is built with CMake's defaults and without any optional package. TAVSIM is the server to run, by default
# the one that demo.sh builds.
set -eu

cd "$(dirname "$0")/.."
. scripts/packages.sh
tavsim=${1-$PWD/build/demo/tools/tavsim/tavsim}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

if [ ! -x "$tavsim" ]; then
  echo "check_install: $tavsim is missing; ./demo.sh builds it" >&2
  exit 2
fi
install_packages "to build with CMake's defaults" cmake make "${packages_gcc[@]}"

cmake -S . -B "$work/build" -DTAVLIB_CONFIG_FILE="$work/run/tavlib.conf" \
  -DCMAKE_DISABLE_FIND_PACKAGE_OpenSSL=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON
cmake --build "$work/build" --parallel "$(nproc)"
cmake --install "$work/build" --prefix "$prefix"

# Hosts by hand: a C compiler, a C++ compiler, and the installed files.
library=$(find "$prefix" -name libtavlib.so.1)
strict=(-Wall -Wextra -pedantic -Werror -I "$prefix/include")
link=(-L "${library%/*}" "-Wl,-rpath,${library%/*}" -ltavlib)
mkdir "$work/hosts"
gcc -std=c11 "${strict[@]}" examples/minimal/lookup.c "${link[@]}" -o "$work/hosts/lookup_c"
g++ -std=c++17 "${strict[@]}" examples/dlopen/main.cpp -ldl -o "$work/hosts/lookup_dlopen"

# The hosts that the README shows.
for language in c cpp; do
  sed -n "/^\`\`\`$language\$/,/^\`\`\`\$/p" README.md | sed '/^```/d' >"$work/readme.$language"
done
gcc -std=c11 "${strict[@]}" "$work/readme.c" "${link[@]}" -o "$work/hosts/readme_c"
g++ -std=c++17 "${strict[@]}" "$work/readme.cpp" "${link[@]}" -o "$work/hosts/readme"

# And one that finds the library with CMake.
mkdir "$work/found"
cat >"$work/found/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.18)
project(found LANGUAGES CXX)
find_package(tavlib 1.0 REQUIRED)
add_executable(lookup $PWD/examples/minimal/lookup.cpp)
target_compile_features(lookup PRIVATE cxx_std_17)
target_link_libraries(lookup PRIVATE tavlib::tavlib)
END
cmake -S "$work/found" -B "$work/found/build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$work/hosts"
cmake --build "$work/found/build"

scripts/with_servers.sh "$tavsim" "$work/run" scripts/run_hosts.sh "$work/hosts" "$library" readme readme_c
echo "check_install: the installed library serves its hosts"
