#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-deps.sh
tools/build.sh
# The local service's check with the official JavaScript SDK needs its npm packages.
if command -v npm >/dev/null 2>&1 \
    && [ ! tests/sdk/node_modules/.package-lock.json -nt tests/sdk/package-lock.json ]; then
    (cd tests/sdk && npm ci --no-audit --no-fund --loglevel=error) \
        || echo "npm ci failed: the SDK check will be skipped"
fi
cd build
ctest --output-on-failure --timeout 600 -j "$(nproc)" -LE bench
