#!/usr/bin/env bash
# Configures (once) and builds the project incrementally in ./build.
# usage: tools/build.sh [cmake --build arguments, e.g. --target tallyra]
set -euo pipefail
cd "$(dirname "$0")/.."
if [ ! -f build/build.ninja ]; then
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
cmake --build build "$@"
