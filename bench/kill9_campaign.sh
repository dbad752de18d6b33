#!/usr/bin/env bash
# Kills a recording activity store with SIGKILL at random moments and checks
# the file after each kill: SQLite's integrity check must say "ok" and the
# store must hold at least the seconds of the last save that returned.
#
#   bench/kill9_campaign.sh [path/to/store_kill9_driver] [kills] [save-every-ms]
#
# The driver (bench/Kill9Driver.cpp) records one-second intervals through the
# store's own recording and saving code and saves every few milliseconds, so
# that kills land before, inside and after saves; after each returned save it
# logs the seconds saved, fsync'ed. Each kill is followed by a restart on the
# same file, as the helper restarts after a crash. Prints
# "name: value unit" lines and exits non-zero when a check failed.
set -euo pipefail
driver=${1:-build/bench/store_kill9_driver}
kills=${2:-500}
save_every_ms=${3:-20}
[[ -x $driver ]] || { echo "no driver at $driver" >&2; exit 1; }
command -v sqlite3 >/dev/null || { echo "sqlite3 is not installed" >&2; exit 77; }

state=$(mktemp -d)
driver_pid=
cleanup() {
  [[ -n $driver_pid ]] && kill -KILL "$driver_pid" 2>/dev/null || true
  rm -rf "$state"
}
trap cleanup EXIT
data=$state/data
db=$data/ActivityStore.db
mkdir -p "$data" && chmod 700 "$data"

integrity_failures=0
lost_saves=0
open_failures=0
during_save=0
stored=0
SECONDS=0
for ((kill = 1; kill <= kills; kill++)); do
  "$driver" "$data" "$state" "$save_every_ms" 2>>"$state/driver.log" &
  driver_pid=$!
  # Anywhere from the opening of the file to several saves later.
  sleep "0.$(printf '%03d' $((RANDOM % 400 + 5)))"
  if ! kill -0 "$driver_pid" 2>/dev/null; then
    open_failures=$((open_failures + 1))
    echo "kill $kill: the driver had stopped by itself" >&2
  fi
  kill -KILL "$driver_pid" 2>/dev/null || true
  wait "$driver_pid" 2>/dev/null || true
  driver_pid=
  [[ $(head -c1 "$state/saving" 2>/dev/null) == 1 ]] && during_save=$((during_save + 1))

  [[ -f $db ]] || continue
  check=$(sqlite3 "$db" 'PRAGMA integrity_check;' 2>&1 || true)
  if [[ $check != ok ]]; then
    integrity_failures=$((integrity_failures + 1))
    echo "kill $kill: integrity check: $check" >&2
  fi
  stored=$(sqlite3 "$db" 'SELECT CAST(total(duration) AS INTEGER) FROM HourlyEvent;' 2>/dev/null || echo -1)
  saved=$(grep -E '^[0-9]+$' "$state/saved" 2>/dev/null | tail -n1 || true)
  if [[ -n $saved ]] && ((stored < saved)); then
    lost_saves=$((lost_saves + 1))
    echo "kill $kill: the store holds $stored s, the last save returned with $saved s" >&2
  fi
done

echo "kills: $kills"
echo "kills_during_save: $during_save"
echo "integrity_failures: $integrity_failures"
echo "lost_saves: $lost_saves"
echo "driver_stopped_by_itself: $open_failures"
echo "seconds_stored: $stored s"
echo "saves_returned: $(wc -l <"$state/saved") saves"
echo "campaign_time: $SECONDS s"
((integrity_failures == 0 && lost_saves == 0 && open_failures == 0))
