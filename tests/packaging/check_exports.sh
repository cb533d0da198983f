#!/bin/sh
# Compares what a built libtavlib.so exports with the checked-in list of demangled names.
#
#   check_exports.sh LIBRARY LIST          fails on every difference
#   check_exports.sh --print LIBRARY       prints the list of a library, to renew the checked-in one
#
# The list holds functions, variables, vtables and type information, and is the same for every compiler and build type.
# Copies of inline functions and of templates (type W) are left out of it: which ones a library has is the compiler's
# choice. Whatever the type, nothing of the standard library or of our own internals may be among the exports.
set -eu
export LC_ALL=C

# exported TYPES LIBRARY: the demangled names. The mark of the version itself has type A.
exported() {
  nm -D --defined-only --demangle --without-symbol-versions "$2" | sed -n "s/^[0-9a-f]* [$1] //p" | sort -u
}

if [ "$1" = --print ]; then
  exported TDBRV "$2"
  exit 0
fi
library=$1
list=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0
# expect_empty FILE MESSAGE: the file's lines are what should not be.
expect_empty() {
  if [ -s "$1" ]; then
    echo "$2:"
    sed 's/^/  /' "$1"
    failed=1
  fi
}

exported TDBRV "$library" > "$folder/now"
sort -c "$list"
comm -13 "$list" "$folder/now" > "$folder/added"
comm -23 "$list" "$folder/now" > "$folder/lost"
expect_empty "$folder/added" "exported, but not in the list"
expect_empty "$folder/lost" "in the list, but not exported"

exported '^A' "$library" | sed 's/(.*//' | grep -E '(^| )(std|__gnu_cxx|tavlib)::' > "$folder/internal" || [ $? = 1 ]
expect_empty "$folder/internal" "internals that are exported"

# Weak references without a leading underscore are the host's event loop; the others are the tool chain's.
nm -D --undefined-only "$library" | sed -nE 's/^ *w ([^_].*)$/\1/p' | sort > "$folder/weak"
printf 'T_event_del_socket\nT_event_set_socket\n' > "$folder/hosts"
diff "$folder/hosts" "$folder/weak" > "$folder/weak.diff" || [ $? = 1 ]
expect_empty "$folder/weak.diff" "the host's functions (<) differ from the weak references (>)"

touch "$folder/soname"
readelf -d "$library" | grep -q 'SONAME.*\[libtavlib\.so\.1\]' || echo "not libtavlib.so.1" > "$folder/soname"
expect_empty "$folder/soname" "shared library name"
exit "$failed"
