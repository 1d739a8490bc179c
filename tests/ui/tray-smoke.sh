#!/usr/bin/env bash
# Starts Lorekeep on a virtual X display with trayer as the tray host, as a person would: the icon appears in the
# tray, a click opens the panel, a second start opens the settings window, and a third asks it to quit, which it
# must do cleanly. Leaves screenshots/tray-panel.png and screenshots/tray-settings.png in the working folder.
#   tray-smoke.sh <path of Lorekeep>
# Exits 77 (skipped) when Xvfb, trayer, xdotool or ImageMagick's import is missing.
set -euo pipefail

app=$(realpath "$1")
for tool in Xvfb trayer xdotool import xwininfo dbus-run-session; do
    if ! command -v "$tool" >/dev/null; then
        echo "tray smoke test skipped: $tool is not installed (scripts/setup installs it)"
        exit 77
    fi
done

work=$(mktemp -d)
mkdir -p "$work/home" "$work/runtime" screenshots
chmod 700 "$work/runtime"
xvfb_pid=
trayer_pid=
app_pid=
cleanup() {
    for pid in $app_pid $trayer_pid $xvfb_pid; do
        kill "$pid" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "tray smoke test: $*" >&2
    echo "--- Lorekeep's output:" >&2
    cat "$work/app.log" >&2 || true
    exit 1
}

# A display of our own: Xvfb picks a free number and writes it to the descriptor.
exec 3>"$work/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do
    [ -s "$work/display" ] && break
    sleep 0.1
done
[ -s "$work/display" ] || fail "Xvfb did not start"
export DISPLAY=":$(head -1 "$work/display")"

trayer --edge top --align right --widthtype request --height 24 --SetDockType true --transparent false \
    --tint 0x2b2b2d >"$work/trayer.log" 2>&1 &
trayer_pid=$!
sleep 1

# The application's settings, log and autostart entry go to a home of its own.
export HOME="$work/home" XDG_RUNTIME_DIR="$work/runtime" XDG_CONFIG_HOME="$work/home/.config"
export XDG_STATE_HOME="$work/home/.local/state" QT_QPA_PLATFORM=xcb
# The X and font libraries keep caches for the life of the process; they are not ours to report.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
dbus-run-session -- "$app" >"$work/app.log" 2>&1 &
app_pid=$!

# The icon is embedded once a window of ours is a child of trayer's panel. Its line reads
# "0x400006 "Lorekeep": ("Lorekeep" "Lorekeep")  22x22+0+0  +1257+1": the window, its size, where it is.
find_icon() {
    xwininfo -root -tree 2>/dev/null |
        awk '/"panel": \("panel" "trayer"\)/ {inside=1} inside && /\("Lorekeep" "Lorekeep"\)/ {print $1, $(NF-1), $NF; exit}'
}
icon=
for _ in $(seq 150); do
    icon=$(find_icon)
    [ -n "$icon" ] && break
    kill -0 "$app_pid" 2>/dev/null || fail "Lorekeep ended before its icon appeared"
    sleep 0.1
done
[ -n "$icon" ] || fail "no tray icon appeared in trayer"
# trayer widens itself for the new icon, which moves it: wait until it stays put.
for _ in $(seq 30); do
    sleep 0.2
    again=$(find_icon)
    [ "$again" = "$icon" ] && break
    icon=$again
done
echo "tray icon: $icon"
read -r _ size place <<<"$icon"
width=${size%%x*}
height=${size#*x}
height=${height%%+*}
IFS=+ read -r _ x y <<<"$place"
xdotool mousemove $((x + width / 2)) $((y + height / 2)) click 1
# The panel is a popup window named "Lorekeep", shown (viewable) beside the icon.
shown_window() {
    for id in $(xwininfo -root -children 2>/dev/null | awk -v name="\"$1\":" '$2 == name {print $1}'); do
        xwininfo -id "$id" 2>/dev/null | grep -q "Map State: IsViewable" && { echo "$id"; return; }
    done
}
panel=
for _ in $(seq 50); do
    panel=$(shown_window Lorekeep)
    [ -n "$panel" ] && break
    sleep 0.1
done
[ -n "$panel" ] || fail "a click on the icon did not open the panel"
sleep 0.3
import -window root screenshots/tray-panel.png
echo "panel: window $panel"

"$app" --settings >>"$work/app.log" 2>&1 || fail "the second start did not reach the running one"
settings=
for _ in $(seq 50); do
    settings=$(xdotool search --onlyvisible --name '^Lorekeep Settings$' 2>/dev/null | head -1 || true)
    [ -n "$settings" ] && break
    sleep 0.1
done
[ -n "$settings" ] || fail "the settings window did not open"
sleep 0.3
import -window root screenshots/tray-settings.png
echo "settings: window $settings"

"$app" --quit >>"$work/app.log" 2>&1 || fail "the quit request did not reach the running one"
status=0
for _ in $(seq 100); do
    kill -0 "$app_pid" 2>/dev/null || break
    sleep 0.1
done
if kill -0 "$app_pid" 2>/dev/null; then
    fail "Lorekeep did not quit"
fi
wait "$app_pid" || status=$?
app_pid=
[ "$status" -eq 0 ] || fail "Lorekeep quit with status $status"
echo "tray smoke test: icon, panel, settings and quit all fine"
