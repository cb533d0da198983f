#!/bin/sh
# Compiles each public header on its own, twice in a row, as a host that includes nothing else would.
#
#   check_headers.sh INCLUDE_FOLDER STANDARD COMPILER...
#
# STANDARD is c++17, c++20 or c11, each without extensions. For C these are the headers that <tavlib/tavlib.h> gives to
# a C host.
set -eu
folder=$1
standard=$2
shift 2

case $standard in
  c++*)
    language=c++
    headers=$(cd "$folder" && find tavlib -name '*.h' | sort)
    ;;
  *)
    language=c
    headers=$("$@" -x c "-std=$standard" -MM "-I$folder" "$folder/tavlib/tavlib.h" | tr ' ' '\n' |
      sed -n "s|^$folder/\(.*\.h\)\$|\1|p")
    ;;
esac
echo "$headers" | grep -q 'tavlib/api/sso\.h'

failed=0
for header in $headers; do
  printf '#include <%s>\n#include <%s>\nextern int something;\n' "$header" "$header" |
    "$@" -x "$language" "-std=$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only "-I$folder" - || {
    echo "$header does not stand on its own as $standard"
    failed=1
  }
done
exit "$failed"
