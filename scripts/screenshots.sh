#!/usr/bin/env bash
# Redraws the pictures in docs/screenshots: the menu, the custom-activity
# window, the three questions and a notice (Qt's offscreen platform), and the icon in a
# real XEmbed tray (trayer on a throw-away Xvfb display with openbox), once on
# a dark and once on a light panel; then the real helper in a
# StatusNotifierItem panel (xfce4-panel), once closed and once with its menu
# open.
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

# The real helper in a StatusNotifierItem panel (xfce4-panel), then with its
# menu open, on a display of its own with a private session bus.
for tool_name in xfce4-panel dbus-daemon xdotool; do
  command -v "$tool_name" >/dev/null || { echo "$tool_name is missing: no StatusNotifierItem pictures" >&2; exit 0; }
done
cmake --build "$build" --target vorlix-helper >/dev/null
rm -f "$state/display"
Xvfb -screen 0 640x400x24 -nolisten tcp -noreset -displayfd 3 3>"$state/display" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [[ -s $state/display ]] && break; sleep 0.05; done
export DISPLAY=":$(cat "$state/display")"
openbox --sm-disable >/dev/null 2>&1 &
pids+=($!)
dbus-daemon --session --nofork --nopidfile --address="unix:dir=$XDG_RUNTIME_DIR" --print-address=3 \
  3>"$state/bus" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [[ -s $state/bus ]] && break; sleep 0.05; done
export DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$state/bus")
# A panel along the bottom: a clock, then the tray at the right end.
panel_config=$XDG_CONFIG_HOME/xfce4/xfconf/xfce-perchannel-xml
mkdir -p "$panel_config" "$XDG_CONFIG_HOME/info.mallowby.Vorlix"
cat >"$panel_config/xfce4-panel.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="true"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=8;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="clock">
      <property name="digital-format" type="string" value="%H:%M"/>
    </property>
    <property name="plugin-3" type="string" value="systray"/>
  </property>
</channel>
XML
# No start-up questions in the picture.
printf '[General]\ndontAskToLaunchAtLogin=true\ndontNotifyAboutDisabledAccessibilityAPI=true\n' \
  >"$XDG_CONFIG_HOME/info.mallowby.Vorlix/VorlixHelper.conf"
xfce4-panel >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 100); do
  dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.ListNames \
    2>/dev/null | grep -q org.kde.StatusNotifierWatcher && break
  sleep 0.1
done
"$build/src/app/vorlix-helper" >/dev/null 2>&1 &
helper_pid=$!
pids+=("$helper_pid")
sleep 3
width=640 height=400 panel=32
QT_QPA_PLATFORM=xcb "$tool" --grab "$out/tray-sni-panel.png" $((width - 240)) $((height - panel)) 240 $panel
# The tray is the panel's right end: its one icon opens the menu above it.
xdotool mousemove $((width - 16)) $((height - panel / 2)) click 1
sleep 1
QT_QPA_PLATFORM=xcb "$tool" --grab "$out/status-menu-sni-panel.png" $((width - 240)) $((height - 220)) 240 220
kill -TERM "$helper_pid"; wait "$helper_pid" 2>/dev/null || true
