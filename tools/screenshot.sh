#!/usr/bin/env bash
# Runs a program in a fresh Xvfb screen, saves a PNG of the whole screen after a delay, stops.
# usage: tools/screenshot.sh OUT.png PROGRAM [ARGS...]   (SCREENSHOT_DELAY seconds, default 4)
set -euo pipefail
out="$1"
shift
delay="${SCREENSHOT_DELAY:-4}"
"$(dirname "$0")/setup-deps.sh" imagemagick xvfb
display=":$((90 + RANDOM % 100))"
Xvfb "$display" -screen 0 1440x900x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill "$app" "$xvfb" 2>/dev/null || true' EXIT
sleep 1
DISPLAY="$display" "$@" &
app=$!
sleep "$delay"
DISPLAY="$display" /usr/bin/import -window root "$out"
echo "screenshot: $out"
