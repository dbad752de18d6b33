#!/usr/bin/env bash
# Runs the real vorlix-helper on a throw-away desktop for a while (60 s by
# default) and prints its CPU per tick, its share of one core, the X server's
# CPU over the same time and the helper's resident memory, one
# "name: value unit" line each. The desktop is Xvfb with a private session
# bus, the accessibility bus and openbox, with an xterm in front (the helper
# asks the window system, the idle counter and the accessibility bus every
# tick, and records into its store); FRONT=chromium puts Chromium on a local
# page in front instead (PAGE=busy: a page that renames, rewrites and moves
# the focus all the time, for the cost of the accessibility events it
# sends), FRONT=none leaves the screen empty. TITLE=shell gives the xterm a
# shell whose prompt writes its folder into the window title.
# The helper shows its icon to a stand-in panel (a StatusNotifierWatcher on
# the private bus; TRAY=none leaves it without a tray).
#
#   bench/helper_cpu_rss.sh [path/to/vorlix-helper] [seconds]
#
# "helper_private" counts every page only this process maps, which on a bare
# machine includes the Qt libraries' code that any other Qt program on a real
# desktop would share; "helper_private_dirty" is what the helper itself
# wrote (heap, stacks, relocations). SMAPS_OUT=FILE keeps a copy of the
# helper's /proc/PID/smaps to see where the pages are.
#
# STORE=FOLDER starts the helper on a copy of an existing data folder (for
# example the five-year store written by report_bench), so the memory figures
# include the store the helper keeps open. "helper_private_heap" is what the
# anonymous mappings (heap, thread stacks, arenas) hold privately, measured at
# the start of the measured time and at its end; the difference is
# "helper_private_heap_growth".
#
# HELPER_WRAPPER runs the helper under a profiler, e.g.
#   HELPER_WRAPPER="valgrind --tool=callgrind --callgrind-out-file=/tmp/cg.out" \
#     bench/helper_cpu_rss.sh build/src/app/vorlix-helper 15
set -euo pipefail
helper=${1:-build/src/app/vorlix-helper}
seconds=${2:-60}
[[ -x $helper ]] || { echo "no helper at $helper" >&2; exit 1; }
command -v Xvfb >/dev/null || { echo "Xvfb is not installed" >&2; exit 77; }

state=$(mktemp -d)
pids=()
cleanup() {
  [[ -n ${KEEP_LOG:-} && -f $state/helper.log ]] && cp "$state/helper.log" "$KEEP_LOG"
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

front=${FRONT:-xterm}
bus_address="unix:path=$state/no-bus"
desktop_env=(env -u WAYLAND_DISPLAY -u XDG_SESSION_ID -u AT_SPI_BUS_ADDRESS DISPLAY="$display"
  HOME="$state" XDG_RUNTIME_DIR="$state/runtime" XDG_CONFIG_HOME="$state/config"
  XDG_DATA_HOME="$state/data" XDG_CACHE_HOME="$state/cache" LANG=C.UTF-8)
if [[ $front != none ]]; then
  for tool in dbus-daemon openbox xdotool "$front"; do
    command -v "$tool" >/dev/null || { echo "$tool is not installed" >&2; exit 77; }
  done
  dbus-daemon --session --nofork --nopidfile --address="unix:dir=$state/runtime" \
    --print-address=3 3>"$state/bus" 2>/dev/null &
  pids+=($!)
  for _ in $(seq 100); do [[ -s $state/bus ]] && break; sleep 0.05; done
  bus_address=$(head -n1 "$state/bus")
  desktop_env+=(DBUS_SESSION_BUS_ADDRESS="$bus_address")
  if [[ ${TRAY:-sni} != none ]]; then
    DBUS_SESSION_BUS_ADDRESS="$bus_address" /usr/bin/python3 -m dbusmock --template \
      "$(dirname "$0")/../tests/harness/status_notifier_watcher.py" >/dev/null 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
      DBUS_SESSION_BUS_ADDRESS="$bus_address" dbus-send --session --print-reply \
        --dest=org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus.NameHasOwner \
        string:org.kde.StatusNotifierWatcher 2>/dev/null | grep -q true && break
      sleep 0.1
    done
  fi
  if [[ -x /usr/libexec/at-spi-bus-launcher ]]; then
    "${desktop_env[@]}" /usr/libexec/at-spi-bus-launcher --launch-immediately --a11y=1 \
      >/dev/null 2>&1 &
    pids+=($!)
  fi
  "${desktop_env[@]}" openbox --sm-disable >/dev/null 2>&1 &
  pids+=($!)
  sleep 1
  front_args=()
  # TITLE=shell: the xterm's shell reads Debian's default start file, whose
  # prompt puts "user@host: folder" into the window title (the folder then
  # comes from the title, not from /proc).
  [[ $front == xterm && ${TITLE:-} == shell ]] && front_args=(-e bash --rcfile /etc/skel/.bashrc -i)
  if [[ $front == chromium ]]; then
    # A local page in a throw-away profile, with its accessibility tree on
    # (the helper reads the page address from it every tick).
    printf '<title>bench page</title><p>steady</p>\n' >"$state/page.html"
    if [[ ${PAGE:-steady} == busy ]]; then
      # A page that keeps changing under the user's eyes: a button renamed
      # and a line of text rewritten 20 times a second, the focus moved
      # once a second (the kinds of change the helper listens for).
      printf '%s\n' '<title>bench page</title><button id=b>0</button><p id=t>0</p><input id=i>' \
        '<script>let n = 0; setInterval(() => { n++; b.setAttribute("aria-label", "n" + n);' \
        't.textContent = n; if (n % 20 == 0) (n % 40 ? b : i).focus(); }, 50);</script>' \
        >"$state/page.html"
    fi
    front_args=(--no-sandbox --disable-gpu --no-first-run --disable-background-networking
      --disable-component-update --disable-sync --user-data-dir="$state/chromium"
      --proxy-server=127.0.0.1:9 --force-renderer-accessibility "file://$state/page.html")
  fi
  "${desktop_env[@]}" ACCESSIBILITY_ENABLED=1 "$front" "${front_args[@]}" >/dev/null 2>&1 &
  pids+=($!)
  front_pid=$!
  for _ in $(seq 300); do
    window=$("${desktop_env[@]}" xdotool search --onlyvisible --pid "$front_pid" 2>/dev/null | head -n1 || true)
    [[ -n $window ]] && break; sleep 0.1
  done
  "${desktop_env[@]}" xdotool windowactivate "$window" >/dev/null 2>&1 || true
fi

# CPU nanoseconds of all threads of a process (finer than utime/stime).
cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{s += $1} END {printf "%d", s}'; }

# The user stays active (idle threshold 1 day): every tick runs in full. The
# start-up questions are answered for good.
mkdir -p "$state/config/info.mallowby.Vorlix" "$state/data"
[[ -n ${STORE:-} ]] && cp -r "$STORE" "$state/data/info.mallowby.Vorlix"
printf '[General]\nidleTimeThresholdForSuspendingTracking=86400\ndontAskToLaunchAtLogin=true\ndontNotifyAboutDisabledAccessibilityAPI=true\n' \
  >"$state/config/info.mallowby.Vorlix/VorlixHelper.conf"
"${desktop_env[@]}" DBUS_SESSION_BUS_ADDRESS="$bus_address" \
  DBUS_SYSTEM_BUS_ADDRESS="unix:path=$state/no-system-bus" QT_QPA_PLATFORM=xcb \
  ${HELPER_WRAPPER:-} "$helper" 2>"$state/helper.log" &
helper_pid=$!
pids=("$helper_pid" "${pids[@]}")

sleep 3  # start-up is not part of the steady state
kill -0 "$helper_pid" 2>/dev/null || { echo "the helper has ended:" >&2; cat "$state/helper.log" >&2; exit 1; }
# Private pages of anonymous mappings: a mapping line without a path, or
# one of the kernel's own names ([heap], [stack], [anon:...]).
private_heap_kb() {
  awk '/^[0-9a-f]+-[0-9a-f]+ / {anon = (NF < 6 || $6 ~ /^\[(heap|stack|anon)/)}
       anon && /^Private_(Clean|Dirty):/ {s += $2} END {print s + 0}' "/proc/$1/smaps"
}
heap0_kb=$(private_heap_kb "$helper_pid")
h0=$(cpu_ns "$helper_pid"); x0=$(cpu_ns "$xvfb_pid")
sleep "$seconds"
h1=$(cpu_ns "$helper_pid"); x1=$(cpu_ns "$xvfb_pid")
[[ -n ${SMAPS_OUT:-} ]] && cp "/proc/$helper_pid/smaps" "$SMAPS_OUT"

[[ -s $state/data/info.mallowby.Vorlix/ActivityStore.db ]] ||
  echo "note: the helper has not saved its store yet (saves every 60 s)" >&2
rss_kb=$(awk '/^VmRSS:/ {print $2}' "/proc/$helper_pid/status")
anon_kb=$(awk '/^RssAnon:/ {print $2}' "/proc/$helper_pid/status")
private_kb=$(awk '/^Private_(Clean|Dirty):/ {s += $2} END {print s}' "/proc/$helper_pid/smaps_rollup")
dirty_kb=$(awk '/^Private_Dirty:/ {s += $2} END {print s}' "/proc/$helper_pid/smaps_rollup")
heap1_kb=$(private_heap_kb "$helper_pid")
threads=$(awk '/^Threads:/ {print $2}' "/proc/$helper_pid/status")
tray=0
grep -q "status item shown" "$state/helper.log" && tray=1
awk -v h=$((h1 - h0)) -v x=$((x1 - x0)) -v s="$seconds" \
    -v rss="$rss_kb" -v anon="$anon_kb" -v priv="$private_kb" -v th="$threads" -v tray="$tray" -v dirty="$dirty_kb" -v heap0="$heap0_kb" -v heap1="$heap1_kb" 'BEGIN {
  printf "helper_cpu_per_tick: %.3f ms\n", h / 1e6 / s
  printf "helper_cpu_share: %.4f %%\n", h / 1e7 / s
  printf "xserver_cpu_per_tick: %.3f ms\n", x / 1e6 / s
  printf "helper_rss: %.1f MB\n", rss / 1024
  printf "helper_rss_anon: %.1f MB\n", anon / 1024
  printf "helper_private: %.1f MB\n", priv / 1024
  printf "helper_private_dirty: %.1f MB\n", dirty / 1024
  printf "helper_private_heap: %.1f MB\n", heap1 / 1024
  printf "helper_private_heap_growth: %.2f MB\n", (heap1 - heap0) / 1024
  printf "helper_threads: %d count\n", th
  printf "helper_tray_icon_shown: %d count\n", tray
}'
