#!/bin/sh
# Nothing of the library runs before main or when a process or a thread ends, apart from the destructor of the threads'
# slot: the objects of the static library neither initialise anything while the process starts nor register a destructor.
# Where they hold no code yet, because it is made while a host is linked, the shared library tells.
#
#   check_statics.sh NM STATIC_LIBRARY SHARED_LIBRARY
set -eu
nm=$1 static=$2 shared=$3

fail() {
  echo "the library's code $1"
  exit 1
}

"$nm" "$static" | grep ' T TAVInitialize$' >/dev/null
"$nm" "$shared" | grep ' T TAVInitialize$' >/dev/null
for library in "$static" "$shared"; do
  if "$nm" "$library" | grep -E '_GLOBAL__(sub_)?[ID]|__cxa_(thread_)?atexit|\batexit$'; then
    fail "runs at the start or the end of a process or a thread"
  fi
done
if readelf -SW "$static" | grep -E '\.(init|fini)_array|\.[cd]tors|\.tdata|\.tbss'; then
  fail "has constructors, destructors or thread-local variables"
fi
if readelf -SW "$shared" | grep -E '\.tdata|\.tbss'; then fail "has thread-local variables"; fi
# Each array has one entry, the C run-time's own.
case $(readelf -h "$shared") in
  *ELF64*) size=000008 ;;
  *) size=000004 ;;
esac
for array in init fini; do
  readelf -SW "$shared" | grep -qE "\.${array}_array .* $size " || fail "adds to what a process runs: ${array}_array"
done
