#!/usr/bin/env bash
# Runs one fuzz target for a few seconds from its committed seed corpus.
# New inputs go to a throw-away folder, so the committed corpus stays as it
# is; a finding is kept as fuzz-finding-* in the current folder and the exit
# status is non-zero.
#
#   fuzz/run_fuzzer.sh FUZZER SEED_FOLDER [SECONDS] [more libFuzzer options]
set -euo pipefail
fuzzer=$1 seeds=$2 seconds=${3:-5}
shift $(( $# < 3 ? $# : 3 ))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ASAN_OPTIONS=${ASAN_OPTIONS:-} UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1} \
  "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$PWD/fuzz-finding-$(basename "$fuzzer")-" "$@" "$work" "$seeds"
