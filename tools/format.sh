#!/usr/bin/env bash
# Checks (or with --fix rewrites) the formatting of every C++ file under version control.
set -euo pipefail
cd "$(dirname "$0")/.."
cf=$(command -v clang-format || command -v clang-format-14 || true)
if [ -z "$cf" ]; then
    echo "clang-format not found" >&2
    exit 1
fi
# Files deleted in the working tree but not yet in the index are left out.
mapfile -t files < <(git ls-files -- '*.cpp' '*.h' '*.mm' | grep -v '^tools/emojirender/build' \
    | while read -r f; do [ -f "$f" ] && echo "$f"; done || true)
[ "${#files[@]}" -gt 0 ] || exit 0
if [ "${1:-}" = "--fix" ]; then
    "$cf" -i "${files[@]}"
else
    "$cf" --dry-run --Werror "${files[@]}"
    echo "formatting ok (${#files[@]} files)"
fi
