#!/usr/bin/env bash
# Builds the benchmarks in Release mode (in ./build-release) and runs them, or only those whose
# names match the given pattern. usage: tools/bench.sh [PATTERN]
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup-deps.sh
if [ ! -f build-release/build.ninja ]; then
    cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release
fi
cmake --build build-release
cd build-release
ctest -L bench -V ${1:+-R "$1"}
