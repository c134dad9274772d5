#!/usr/bin/env bash
# The screenshot tour: starts tallyra-local with a fresh demo account and the console on the
# offscreen platform, which signs in and saves a PNG of every page and state into OUTDIR.
# usage: tools/screenshots.sh OUTDIR [SERVICE OPTIONS...]   (for example --profile large)
set -euo pipefail
out="$(realpath -m "${1:?usage: tools/screenshots.sh OUTDIR [SERVICE OPTIONS...]}")"
shift
cd "$(dirname "$0")/.."
tools/setup-deps.sh
tools/build.sh --target tallyra tallyra-local
work="$(mktemp -d)"
log="$work/service.log"
build/local/tallyra-local --listen 127.0.0.1:0 --data "$work/data" --reset --visitors 0 "$@" >"$log" 2>&1 &
service=$!
trap 'kill "$service" 2>/dev/null || true; wait "$service" 2>/dev/null || true; rm -rf "$work"' EXIT
for _ in $(seq 100); do
    grep -q "^listening on" "$log" && break
    kill -0 "$service" 2>/dev/null || { cat "$log" >&2; exit 1; }
    sleep 0.1
done
set -a
# shellcheck disable=SC1091
. "$work/data/env"
set +a
mkdir -p "$out"
# A settings store of its own, so that no saved sign-in of the user's is used or changed.
# In the console's own language, whatever the machine's locale.
LANG=ru_RU.UTF-8 LC_ALL=ru_RU.UTF-8 XDG_CONFIG_HOME="$work/config" QT_QPA_PLATFORM=offscreen TALLYRA_TOUR="$out" \
    timeout 300 build/src/tallyra 2>"$work/console.log" || { tail -20 "$work/console.log" >&2; exit 1; }
grep "TOUR SAVED" "$work/console.log" | sed 's/^.*TOUR SAVED /saved /'
