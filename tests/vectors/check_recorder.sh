#!/bin/sh
# check_recorder.sh RECORDER PROGRAM: whether the recorder writes down what libcrypto answers PROGRAM's Oracle tests,
# which ask for published vectors.
set -eu

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
env -u GTEST_OUTPUT LD_PRELOAD="$1" TAVTEST_RECORD="$folder/answers" "$2" --gtest_filter='Oracle.*' --gtest_brief=1
while read -r line; do
  if ! grep -qxF "$line" "$folder/answers"; then
    echo "not recorded: $line"
    exit 1
  fi
done <<END
md5 0-cbf29ce484222325 d41d8cd98f00b204e9800998ecf8427e
encipher f0e1d2c3b4 fedcba9876543210 b39e44481bdb1e6e
decipher f0e1d2c3b4 b39e44481bdb1e6e fedcba9876543210
END
