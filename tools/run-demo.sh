#!/usr/bin/env bash
# Installs what is missing, builds the console and runs it. Without a display it runs inside a
# virtual X server (Xvfb); pass --screenshot FILE to save a picture of the screen after a few
# seconds and stop.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-deps.sh
tools/build.sh --target tallyra

screenshot=""
if [ "${1:-}" = "--screenshot" ]; then
    screenshot="$(realpath -m "${2:?usage: run-demo.sh --screenshot FILE}")"
fi

if [ -n "$screenshot" ]; then
    exec tools/screenshot.sh "$screenshot" build/src/tallyra
elif [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display found: running the console inside Xvfb (use --screenshot FILE to see it)."
    exec xvfb-run -a -s "-screen 0 1440x900x24" build/src/tallyra
else
    exec build/src/tallyra
fi
