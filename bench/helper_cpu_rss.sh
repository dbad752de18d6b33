#!/usr/bin/env bash
# Runs the real vorlix-helper on a throw-away Xvfb for a while (60 s by
# default) and prints its CPU per tick, its share of one core, the X server's
# CPU over the same time and the helper's resident memory, one
# "name: value unit" line each.
#
#   bench/helper_cpu_rss.sh [path/to/vorlix-helper] [seconds]
set -euo pipefail
helper=${1:-build/src/app/vorlix-helper}
seconds=${2:-60}
[[ -x $helper ]] || { echo "no helper at $helper" >&2; exit 1; }
command -v Xvfb >/dev/null || { echo "Xvfb is not installed" >&2; exit 77; }

state=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  sleep 0.5
  for pid in "${pids[@]}"; do kill -KILL "$pid" 2>/dev/null || true; done
  rm -rf "$state"
}
trap cleanup EXIT

mkdir -p "$state"/{runtime,config,data,cache} && chmod 700 "$state/runtime"
Xvfb -screen 0 1280x1024x24 -nolisten tcp -noreset -displayfd 3 3>"$state/display" 2>/dev/null &
pids+=($!)
xvfb_pid=$!
for _ in $(seq 100); do [[ -s $state/display ]] && break; sleep 0.05; done
display=":$(cat "$state/display")"

# CPU nanoseconds of all threads of a process (finer than utime/stime).
cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{s += $1} END {printf "%d", s}'; }

env -u WAYLAND_DISPLAY -u XDG_SESSION_ID DISPLAY="$display" HOME="$state" \
  XDG_RUNTIME_DIR="$state/runtime" XDG_CONFIG_HOME="$state/config" \
  XDG_DATA_HOME="$state/data" XDG_CACHE_HOME="$state/cache" \
  DBUS_SESSION_BUS_ADDRESS="unix:path=$state/no-bus" \
  "$helper" 2>"$state/helper.log" &
helper_pid=$!
pids=("$helper_pid" "${pids[@]}")

sleep 3  # start-up is not part of the steady state
h0=$(cpu_ns "$helper_pid"); x0=$(cpu_ns "$xvfb_pid")
sleep "$seconds"
h1=$(cpu_ns "$helper_pid"); x1=$(cpu_ns "$xvfb_pid")

rss_kb=$(awk '/^VmRSS:/ {print $2}' "/proc/$helper_pid/status")
anon_kb=$(awk '/^RssAnon:/ {print $2}' "/proc/$helper_pid/status")
threads=$(awk '/^Threads:/ {print $2}' "/proc/$helper_pid/status")
awk -v h=$((h1 - h0)) -v x=$((x1 - x0)) -v s="$seconds" \
    -v rss="$rss_kb" -v anon="$anon_kb" -v th="$threads" 'BEGIN {
  printf "helper_cpu_per_tick: %.3f ms\n", h / 1e6 / s
  printf "helper_cpu_share: %.4f %%\n", h / 1e7 / s
  printf "xserver_cpu_per_tick: %.3f ms\n", x / 1e6 / s
  printf "helper_rss: %.1f MB\n", rss / 1024
  printf "helper_rss_anon: %.1f MB\n", anon / 1024
  printf "helper_threads: %d count\n", th
}'
