# shellcheck shell=bash disable=SC2034  # the lists are used by those who source this
# Debian packages by purpose, and their installation. Sourced by the scripts that need them.

packages_build=(cmake ninja-build)
packages_gcc=(g++)
packages_clang=(clang)
packages_clang_lto=(llvm llvm-14-linker-tools)
packages_clang_sanitizers=(libclang-rt-14-dev)
packages_tools=(libssl-dev nlohmann-json3-dev libcli11-dev)
packages_tests=(libgtest-dev libgmock-dev libbenchmark-dev make)
packages_fuzz=(clang libclang-rt-14-dev)
# For building on this machine for other hosts, and their own packages that this takes: see cross.sh.
packages_cross=(qemu-user googletest)
packages_sysroot=(nlohmann-json3-dev libcli11-dev libssl-dev libssl3 libc-bin)
packages_valgrind=(valgrind)
packages_lint=(clang-format clang-tidy)
packages_coverage=(gcovr)
packages_mutation=(git python3)

# Whether a package is installed.
package_installed() {
  [ "$(dpkg-query --show --showformat '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_packages WHY PACKAGE...: installs those that are missing, and says so first.
install_packages() {
  local why=$1 missing=() as_root=() package
  shift
  if ! command -v apt-get dpkg-query >/dev/null; then
    echo "$0: this system has no apt-get; make sure to have what these Debian packages hold: $*" >&2
    return
  fi
  for package in "$@"; do
    package_installed "$package" || missing+=("$package")
  done
  if [ ${#missing[@]} -eq 0 ]; then
    echo "Every package that is needed $why is installed."
    return
  fi

  echo "Installing with apt-get what is needed $why: ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "$0: that takes root, and sudo is missing. As root: apt-get install ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get update -q
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
}
