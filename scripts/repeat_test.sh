#!/usr/bin/env bash
# Runs one test binary (with an optional gtest filter) N times and counts the
# passes; the output of each failed run is kept in a folder for reading.
#   scripts/repeat_test.sh 20 build/tests/end_to_end_tests
#   scripts/repeat_test.sh 20 build/tests/extraction_desktop_tests 'BrowserFrontTick.*'
set -uo pipefail
runs=$1 binary=$2 filter=${3:-*}
keep=$(mktemp -d "${TMPDIR:-/tmp}/repeat-test.XXXXXX")
passed=0
for ((i = 1; i <= runs; i++)); do
  if "$binary" --gtest_filter="$filter" >"$keep/run-$i.log" 2>&1; then
    passed=$((passed + 1))
    rm -f "$keep/run-$i.log"
  fi
  echo "run $i: $passed passed so far"
done
echo "$passed of $runs passed; failed runs' output in $keep"
