#!/bin/sh
# Fails when a comment of a public header gives an error by its bare number: readers know TAV_E_PENDING and ENOENT, not
# 14 and 2. Other numbers may stand there: results, bytes, offsets, seconds. The table of codes in error_state.h has each
# number after its name.
#
#   check_error_numbers.sh INCLUDE_FOLDER
set -eu

find "$1/" -name '*.h' | sort | xargs awk '
  BEGIN {
    n = "[1-9][0-9]*"
    errors = "(error|errno|status|code|codes|errors)( is| of| becomes)? " n
    verbs = "(answers? |(answer|fail|refuse|end|complete|return|report)(s|es|ed|ing)? (at once )?with )" n
    results = "0 (with|and) " n "|([3-9]|" n "[0-9]) (when|if|while|for a)"
    named = n " (tav_e_[a-z]*|no such entry|out of memory|access denied|invalid argument|(name|buffer) too [a-z]*)"
    bare = "(^|[^a-z0-9])(" errors "|" verbs "|" results "|" named ")([^0-9a-z]|$)"
  }
  FNR == 1 { end_before = "" }
  !/\/\// { end_before = ""; next }
  {
    comments++
    text = tolower($0)
    sub(/.*\/\/[\/<]*/, "", text)
    is_item = text ~ /^   */
    gsub(/[^a-z0-9_.;]+/, " ", text)
    # A sentence goes on from the line before, of which two words are enough.
    if ((is_item ? text : end_before text) ~ bare) {
      print FILENAME ":" FNR ": an error by its number: " $0
      failed = 1
    }
    count = split(text, word, " ")
    end_before = count > 1 ? " " word[count - 1] " " word[count] : " " word[1]
  }
  END {
    if (comments < 300) { print "only " comments + 0 " lines with comments found"; failed = 1 }
    exit failed
  }
'
