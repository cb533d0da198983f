#!/bin/sh
# Fails when a public header declares a class or a public function without a comment. A comment covers the lines below
# it up to the next empty line; one that stands alone covers the group behind that line, and that of a class also the
# first group in it. Destructors and whatever is deleted or defaulted need none.
#
#   check_comments.sh INCLUDE_FOLDER
set -eu

find "$1/" -name '*.h' | sort | xargs awk '
  FNR == 1         { covered = code = in_class = 0; public = 1 }
  /^ *$/           { if (code) covered = 0; code = 0; next }
  /^ *\/\//        { covered = 1; next }
                   { sub(/ *\/\/.*/, ""); code = 1; opens = /^ *(class|struct) .*\{/ }
  /^ (public|protected|private):/ { public = /public/ }
  /^};/            { in_class = 0; public = 1 }
  !public || /~|= delete|= default/ { next }
  opens || /^(TAVLIB_API|typedef) .*\(/ || (in_class && /^  [A-Za-z].*\(/) {
    declarations++
    if (!covered) {
      print FILENAME ":" FNR ": no comment: " $0
      failed = 1
    }
  }
  /^(class|struct) .*\{/ { in_class = 1; public = /^struct/ }
  END {
    if (declarations < 100) { print "only " declarations " declarations found"; failed = 1 }
    exit failed
  }
'
