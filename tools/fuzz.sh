#!/usr/bin/env bash
# Fuzzes JsonParser (fromString, fromFirebaseReply, the chat and visitor mappings) with clang's
# libFuzzer for a bounded time. Not part of CI.
#
#   tools/fuzz.sh [seconds]      (default 60)
#
# Builds tests/fuzz in its own directory (TALLYRA_FUZZ_BUILD, default build-fuzz) with address
# and undefined-behaviour sanitizers, starts from the JSON fixtures and tests/fuzz/seeds, and
# keeps the corpus it grows in that directory for the next run. A crash leaves its input there
# as crash-* and makes the script fail. Needs clang and libclang-rt (Debian: clang,
# libclang-rt-14-dev).
#
# Leak detection is off by default: Qt's JSON parser leaks on some malformed input, and telling
# its allocations apart needs full stack traces on every allocation, which makes fuzzing some
# twenty times slower. TALLYRA_FUZZ_LEAKS=1 turns it on with that leak suppressed
# (tests/fuzz/lsan.supp); the memory limit still stops anything that keeps growing.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
case "$seconds" in
    '' | *[!0-9]*) echo "usage: $0 [seconds]" >&2; exit 2 ;;
esac
build=${TALLYRA_FUZZ_BUILD:-build-fuzz}

cxx=$(command -v clang++ || command -v clang++-14 || true)
if [ -z "$cxx" ]; then
    echo "clang++ not found (Debian: apt-get install clang libclang-rt-14-dev)" >&2
    exit 1
fi

generator=()
command -v ninja > /dev/null && generator=(-G Ninja)
cmake -S tests/fuzz -B "$build" "${generator[@]}" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build "$build"
if [ ! -x "$build/fuzz_jsonparser" ]; then
    echo "fuzz target not built: the compiler lacks -fsanitize=fuzzer" >&2
    exit 1
fi

leaks=0
if [ "${TALLYRA_FUZZ_LEAKS:-0}" = 1 ]; then
    leaks=1
    export ASAN_OPTIONS=fast_unwind_on_malloc=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}
    export LSAN_OPTIONS=suppressions=$PWD/tests/fuzz/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}
else
    export ASAN_OPTIONS=detect_leaks=0${ASAN_OPTIONS:+:$ASAN_OPTIONS}
fi

mkdir -p "$build/corpus"
exec "$build/fuzz_jsonparser" \
    -detect_leaks="$leaks" \
    -max_total_time="$seconds" \
    -max_len=16384 \
    -timeout=10 \
    -rss_limit_mb=2048 \
    -print_final_stats=1 \
    -dict=tests/fuzz/jsonparser.dict \
    -artifact_prefix="$build/" \
    "$build/corpus" tests/fuzz/seeds tests/fixtures/service tests/fixtures/realtime
