#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-deps.sh
tools/build.sh
cd build
ctest --output-on-failure --timeout 600 -j "$(nproc)" -LE bench
