#!/usr/bin/env bash
# Counts non-blank, non-comment lines of C++ under tests/ against the rest of the tree and prints
# the share, so that anyone can see where the project stands against its quarter-to-a-third rule.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -co --exclude-standard -- '*.cpp' '*.h' '*.hpp' '*.cc' '*.mm' | python3 -c '
import os
import sys

def counted(path):
    n, in_block = 0, False
    for line in open(path, encoding="utf-8", errors="replace"):
        s, out, i = line.strip(), [], 0
        while i < len(s):
            if in_block:
                j = s.find("*/", i)
                if j < 0:
                    break
                in_block, i = False, j + 2
            elif s.startswith("//", i):
                break
            elif s.startswith("/*", i):
                in_block, i = True, i + 2
            else:
                out.append(s[i])
                i += 1
        if "".join(out).strip():
            n += 1
    return n

tests = other = 0
for path in sys.stdin.read().split("\n"):
    # A tracked file deleted in the working tree is listed too; it no longer counts.
    if not path or not os.path.exists(path):
        continue
    if path.startswith("tests/"):
        tests += counted(path)
    else:
        other += counted(path)
print(f"tests: {tests} lines")
print(f"other: {other} lines")
print(f"share: {100.0 * tests / max(other, 1):.1f} %")
'
