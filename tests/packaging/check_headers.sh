#!/bin/sh
# Compiles each public header on its own, twice in a row, as a host that includes nothing else would; in C++ as one
# without exceptions and run-time types, and then all of them as one with both.
#
#   check_headers.sh INCLUDE_FOLDER STANDARD COMPILER...
#
# STANDARD is a standard of C or C++ without extensions, for example c11 or c++17.
set -eu
folder=$1
standard=$2
shift 2

case $standard in
  c++*) language=c++ plain='-fno-exceptions -fno-rtti' ;;
  *) language=c plain='' ;;
esac
headers=$(cd "$folder" && find tavlib -name '*.h' | sort)
echo "$headers" | grep -q 'tavlib/api/sso\.h'

# compile COMPILER... [FLAG...]: whether the text on standard input compiles without a warning.
compile() {
  "$@" -x "$language" "-std=$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only "-I$folder" -
}

failed=0
for header in $headers; do
  # shellcheck disable=SC2086  # the flags are words
  printf '#include <%s>\n#include <%s>\nextern int something;\n' "$header" "$header" | compile "$@" $plain || {
    echo "$header does not stand on its own as $standard"
    failed=1
  }
done
# shellcheck disable=SC2086  # the headers are words
printf '#include <%s>\n' $headers | compile "$@" || {
  echo "the headers do not go together as $standard"
  failed=1
}
exit "$failed"
