#!/bin/sh
# Fails when a file includes a header of a room above its own. Rooms, from the ground up: platform; protocol and
# registry, side by side; servers; api. What every room may use are the headers at the top of include/tavlib, but not
# the umbrella; and <tavlib/api/last_error.h>, with which servers/ records failures.
#
#   check_includes.sh SOURCE_FOLDER
set -eu
cd "$1"

# allowed ROOM: the rooms whose headers it may include, for grep.
allowed() {
  case $1 in
    platform) echo 'platform' ;;
    protocol) echo 'platform|protocol' ;;
    registry) echo 'platform|registry' ;;
    servers) echo 'platform|protocol|registry|servers' ;;
    api) echo 'platform|protocol|registry|servers|api' ;;
  esac
}

failed=0
for room in platform protocol registry servers api; do
  files=$(find "$room" "include/tavlib/$room" -name '*.h' -o -name '*.cpp' | grep -E '^(include/tavlib/)?'"$room"'/.')
  common='error_numbers\.h|export\.h'
  [ "$room" != servers ] || common="$common|api/last_error\.h"
  # Includes with a slash or of our own top folder; <sys/types.h> and its like are the system's.
  wrong=$(grep -nHE '^#include ("|<tavlib/)' $files |
    grep -vE ':#include "('"$(allowed "$room")"')/' |
    grep -vE ':#include <tavlib/(('"$(allowed "$room")"')/[a-z_0-9]+\.h|'"$common"')>' || [ $? = 1 ])
  if [ -n "$wrong" ]; then
    echo "not for $room/:"
    echo "$wrong" | sed 's/^/  /'
    failed=1
  fi
done
exit "$failed"
