#!/usr/bin/env bash
# Runs the official JavaScript SDK of the realtime database (npm firebase, tests/sdk) in its
# emulator mode against tallyra-local --plain.
# usage: tools/sdk-check.sh [--install] [PATH/TO/tallyra-local]
#   --install  runs `npm ci` in tests/sdk first (needs the npm registry)
# Exits 77 (skipped) when Node.js 20 or the SDK's packages are missing.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
sdk="$root/tests/sdk"

install=0
if [ "${1:-}" = "--install" ]; then
    install=1
    shift
fi
binary="${1:-$root/build/local/tallyra-local}"

if ! command -v node >/dev/null 2>&1; then
    echo "node not found: SDK check skipped"
    exit 77
fi
if [ "$(node -p 'process.versions.node.split(".")[0]')" -lt 20 ]; then
    echo "the SDK needs Node.js 20 or later ($(node --version) found): SDK check skipped"
    exit 77
fi
if [ "$install" -eq 1 ]; then
    (cd "$sdk" && npm ci --no-audit --no-fund --loglevel=error)
fi
if [ ! -d "$sdk/node_modules/firebase" ]; then
    echo "tests/sdk/node_modules is missing (tools/sdk-check.sh --install): SDK check skipped"
    exit 77
fi
if [ ! -x "$binary" ]; then
    echo "$binary not found: build tallyra-local first" >&2
    exit 1
fi
exec node "$sdk/check.js" "$binary"
