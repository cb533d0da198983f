#!/bin/sh
# Runs a command as user 0 of a user namespace and in a mount namespace of its own, where the kernel allows both. For
# programs under an emulator, which does not let them move themselves.
set -eu
if unshare --user --map-root-user --mount true 2>/dev/null; then
  TAVTEST_IN_PRIVATE_MACHINE=1 exec unshare --user --map-root-user --mount "$@"
fi
exec "$@"
