#!/bin/sh
# Nothing of the library runs before main or when a process or a thread ends, apart from the destructor of the threads'
# slot: the objects of the static library neither initialise anything while the process starts nor register a destructor.
#
#   check_statics.sh NM STATIC_LIBRARY
set -eu
nm=$1 library=$2

"$nm" "$library" | grep -q ' T TAVInitialize$'
if "$nm" "$library" | grep -E '_GLOBAL__(sub_)?[ID]|__cxa_(thread_)?atexit|\batexit$'; then
  echo "the library's objects run code at the start or the end of a process or a thread"
  exit 1
fi
if readelf -SW "$library" | grep -E '\.(init|fini)_array|\.[cd]tors|\.tdata|\.tbss'; then
  echo "the library's objects have constructors, destructors or thread-local variables"
  exit 1
fi
