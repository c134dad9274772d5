#!/usr/bin/env bash
# Installs what is missing, builds the console and the local service, starts the service with the
# demo account and simulated visitors, and runs the console against it. Without a display the
# console runs inside a virtual X server (Xvfb); pass --screenshot FILE to save a picture of the
# screen after a few seconds and stop. --reset seeds the demo account afresh; other options go to
# tallyra-local (for example --visitors 20 or --profile large).
# The console opens signed in as operator@demo.tallyra.local; sign out to try
# manager@demo.tallyra.local (two services). The password of both is demo12345.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-deps.sh
tools/build.sh --target tallyra tallyra-local

screenshot=""
service_args=()
while [ "$#" -gt 0 ]; do
    case "$1" in
        --screenshot)
            screenshot="$(realpath -m "${2:?usage: run-demo.sh --screenshot FILE}")"
            shift 2
            ;;
        *)
            service_args+=("$1")
            shift
            ;;
    esac
done

data="${TALLYRA_LOCAL_DATA:-${XDG_DATA_HOME:-$HOME/.local/share}/tallyra-local}"
log="$(mktemp)"
build/local/tallyra-local --listen 127.0.0.1:8443 --data "$data" "${service_args[@]}" >"$log" 2>&1 &
service=$!
trap 'kill "$service" 2>/dev/null || true; wait "$service" 2>/dev/null || true; rm -f "$log"' EXIT
for _ in $(seq 100); do
    grep -q "^listening on" "$log" && break
    if ! kill -0 "$service" 2>/dev/null; then
        cat "$log" >&2
        exit 1
    fi
    sleep 0.1
done
echo "tallyra-local: $(head -n 1 "$log") (data in $data)"
echo "visitor page: https://127.0.0.1:8443/visitor/"
# The service writes where it listens and the authority it signs with; the console reads them.
set -a
# shellcheck disable=SC1091
. "$data/env"
set +a

# The console keeps its settings for the demo apart from the user's own, and the first time
# remembers the demo operator, so that it opens signed in; signing out and in as someone else
# is remembered as usual.
export XDG_CONFIG_HOME="$data/console"
if [ ! -f "$XDG_CONFIG_HOME/tallyra/chat.conf" ]; then
    mkdir -p "$XDG_CONFIG_HOME/tallyra"
    printf '[General]\nlogin=operator@demo.tallyra.local\npassword=demo12345\nsaveCreds=true\n' \
        >"$XDG_CONFIG_HOME/tallyra/chat.conf"
fi

if [ -n "$screenshot" ]; then
    tools/screenshot.sh "$screenshot" build/src/tallyra
elif [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display found: running the console inside Xvfb (use --screenshot FILE to see it)."
    xvfb-run -a -s "-screen 0 1440x900x24" build/src/tallyra
else
    build/src/tallyra
fi
