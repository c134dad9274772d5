#!/usr/bin/env bash
# Runs the visitor page in headless Chromium (tests/browser, playwright-core from tests/sdk)
# against tallyra-local --plain.
# usage: tools/browser-check.sh [PATH/TO/tallyra-local] [SCREENSHOT.png]
# Exits 77 (skipped) when Node.js, Chromium or tests/sdk/node_modules is missing.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
binary="${1:-$root/build/local/tallyra-local}"
export CHROMIUM="${CHROMIUM:-$(command -v chromium || true)}"

if ! command -v node >/dev/null 2>&1; then
    echo "node not found: browser check skipped"
    exit 77
fi
if [ -z "$CHROMIUM" ]; then
    echo "chromium not found (tools/setup-deps.sh installs it): browser check skipped"
    exit 77
fi
if [ ! -d "$root/tests/sdk/node_modules/playwright-core" ]; then
    echo "tests/sdk/node_modules is missing (npm ci in tests/sdk): browser check skipped"
    exit 77
fi
if [ ! -x "$binary" ]; then
    echo "$binary not found: build tallyra-local first" >&2
    exit 1
fi
exec node "$root/tests/browser/visitor-page.mjs" "$binary" "${2:-}"
