#!/bin/sh
# exits_with.sh CODE TEXT COMMAND...: runs a command, and fails unless it exits with CODE and what it prints holds TEXT.
set -eu

wanted=$1
text=$2
shift 2
code=0
output=$("$@" 2>&1) || code=$?
printf '%s\n' "$output"
if [ "$code" -ne "$wanted" ]; then
  echo "exit code $code instead of $wanted" >&2
  exit 1
fi
case $output in
  *"$text"*) ;;
  *)
    echo "printed nothing with \"$text\"" >&2
    exit 1
    ;;
esac
