#!/bin/sh
# Compiles each public header on its own, twice in a row, as a host that includes nothing else would; in C++ then all of
# them as a host without exceptions and run-time types would.
#
#   check_headers.sh INCLUDE_FOLDER STANDARD COMPILER...
#
# STANDARD is a standard of C or C++ without extensions, for example c11 or c++17. For C these are the headers that
# <tavlib/tavlib.h> gives to a C host.
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

# compile COMPILER... [FLAG...]: whether the text on standard input compiles without a warning.
compile() {
  "$@" -x "$language" "-std=$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only "-I$folder" -
}

failed=0
for header in $headers; do
  printf '#include <%s>\n#include <%s>\nextern int something;\n' "$header" "$header" | compile "$@" || {
    echo "$header does not stand on its own as $standard"
    failed=1
  }
done
if [ "$language" = c++ ]; then
  printf '#include <%s>\n' $headers | compile "$@" -fno-exceptions -fno-rtti || {
    echo "the headers need exceptions or run-time types as $standard"
    failed=1
  }
fi
exit "$failed"
