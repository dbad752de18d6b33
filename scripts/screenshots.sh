#!/usr/bin/env bash
# Redraws the pictures in docs/screenshots: the menu, the custom-activity
# window, the three questions and a notice (Qt's offscreen platform), and the icon in a
# real XEmbed tray (trayer on a throw-away Xvfb display with openbox), once on
# a dark and once on a light panel.
#   scripts/screenshots.sh [build-dir]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
out=$root/docs/screenshots
cmake --build "$build" --target vorlix-ui-screenshots >/dev/null
tool=$build/src/ui/vorlix-ui-screenshots
mkdir -p "$out"
state=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  rm -rf "$state"
}
trap cleanup EXIT
mkdir -p "$state/runtime" && chmod 700 "$state/runtime"
export HOME=$state XDG_RUNTIME_DIR=$state/runtime XDG_CONFIG_HOME=$state/config \
  XDG_DATA_HOME=$state/data XDG_CACHE_HOME=$state/cache LANG=C.UTF-8
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY XDG_CURRENT_DESKTOP QT_QPA_PLATFORMTHEME

QT_QPA_PLATFORM=offscreen "$tool" "$out"

for tool_name in Xvfb openbox trayer; do
  command -v "$tool_name" >/dev/null || { echo "$tool_name is missing: no panel pictures" >&2; exit 0; }
done
Xvfb -screen 0 640x200x24 -nolisten tcp -noreset -displayfd 3 3>"$state/display" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [[ -s $state/display ]] && break; sleep 0.05; done
export DISPLAY=":$(cat "$state/display")"
openbox --sm-disable >/dev/null 2>&1 &
pids+=($!)
for panel in dark:0x2b2b2b light:0xe8e8e8; do
  name=${panel%%:*}
  trayer --edge bottom --align right --widthtype percent --width 100 --height 32 --transparent true \
    --alpha 0 --tint "${panel##*:}" >/dev/null 2>&1 &
  trayer_pid=$!
  sleep 1
  QT_QPA_PLATFORM=xcb "$tool" --panel "$out/tray-$name-panel.png"
  kill -TERM "$trayer_pid"; wait "$trayer_pid" 2>/dev/null || true
done
