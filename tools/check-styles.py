#!/usr/bin/env python3
"""Checks that every style sheet under resources/styles closes each rule before the next one.

Qt's style sheet parser does not complain about a missing "}": it silently drops the rules
that follow, so a merge that loses one unstyles whole windows without a word.
"""
import pathlib
import re
import sys

bad = 0
for path in sorted(pathlib.Path(__file__).resolve().parent.parent.glob("resources/styles/*.css")):
    text = re.sub(r"/\*.*?\*/", lambda m: "\n" * m.group(0).count("\n"), path.read_text(), flags=re.S)
    depth = 0
    for number, line in enumerate(text.split("\n"), 1):
        for char in line:
            depth += {"{": 1, "}": -1}.get(char, 0)
            if depth not in (0, 1):
                print(f"{path.name}:{number}: unbalanced braces")
                bad += 1
                break
        if depth not in (0, 1):
            break
    if depth == 1:
        print(f"{path.name}: the last rule is not closed")
        bad += 1
sys.exit(1 if bad else 0)
