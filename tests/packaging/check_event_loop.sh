#!/bin/sh
# Compiles definitions of the event loop's two functions against the header: the right ones with C linkage and default
# visibility although the compiler's flag hides all, the wrong ones not at all.
#
#   check_event_loop.sh INCLUDE_FOLDER STANDARD COMPILER...
#
# STANDARD is a standard of C or C++ without extensions, for example c11 or c++17.
set -eu
export LC_ALL=C
include=$1
standard=$2
shift 2

case $standard in
  c++*) language=c++ linkage='extern "C" ' ;;
  *) language=c linkage='' ;;
esac
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

# compile DEFINITION COMPILER...: makes an object file of it.
compile() {
  definition=$1
  shift
  printf '#include <tavlib/api/sso.h>\n%s\n' "$definition" |
    "$@" -x "$language" "-std=$standard" -fvisibility=hidden "-I$include" -c -o "$folder/host.o" - 2> "$folder/errors"
}

# visible DEFINITION NAME COMPILER...
visible() {
  definition=$1 name=$2
  shift 2
  if ! compile "$definition" "$@"; then
    cat "$folder/errors"
  elif readelf -sW "$folder/host.o" | grep -q "FUNC  *GLOBAL  *DEFAULT .* $name\$"; then
    return
  fi
  echo "the library would not find: $definition"
  failed=1
}

# refused DEFINITION NAME COMPILER...: because of what it says about the function.
refused() {
  definition=$1 name=$2
  shift 2
  if ! compile "$definition" "$@" && grep -q "error: .*$name\|error: functions that differ only in" "$folder/errors"; then
    return
  fi
  cat "$folder/errors"
  echo "not refused: $definition"
  failed=1
}

parameters='int s, int (*r)(int, void*), void* a'
body='{ return s + r(s, a); }'
visible "int T_event_set_socket($parameters) $body" T_event_set_socket "$@"
visible "${linkage}int T_event_set_socket($parameters) $body" T_event_set_socket "$@"
visible 'int T_event_del_socket(int s) { return s; }' T_event_del_socket "$@"
visible "${linkage}int T_event_del_socket(int s) { return s; }" T_event_del_socket "$@"

refused "${linkage}int T_event_set_socket(long s, int (*r)(int, void*), void* a) { return r((int)s, a); }" \
  T_event_set_socket "$@"
refused "${linkage}int T_event_set_socket(int s, void (*r)(int, void*), void* a) { r(s, a); return s; }" \
  T_event_set_socket "$@"
refused "${linkage}int T_event_set_socket(int s, int (*r)(int, void*), unsigned long a) { return r(s, (void*)a); }" \
  T_event_set_socket "$@"
refused "${linkage}int T_event_del_socket(long s) { return (int)s; }" T_event_del_socket "$@"
refused "void T_event_set_socket($parameters) { r(s, a); }" T_event_set_socket "$@"
refused 'void T_event_del_socket(int s) { (void)s; }' T_event_del_socket "$@"
refused "static int T_event_set_socket($parameters) $body" T_event_set_socket "$@"
exit "$failed"
