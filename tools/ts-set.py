#!/usr/bin/env python3
"""Fills translations into a Qt .ts file.

usage: ts-set.py FILE.ts 'source text' 'translation' ['source' 'translation' ...]
       ts-set.py FILE.ts --list-unfinished

Every message whose source matches gets the translation (in every context), and its
"unfinished" mark is removed. Run the `lupdate` build target first so that the source exists.
"""
import sys
import xml.etree.ElementTree as ET


def main():
    if len(sys.argv) < 3:
        print(__doc__)
        return 2
    path = sys.argv[1]
    tree = ET.parse(path)
    root = tree.getroot()
    if sys.argv[2] == "--list-unfinished":
        for message in root.iter("message"):
            tr = message.find("translation")
            if tr is None or tr.get("type") == "unfinished" or not (tr.text or "").strip():
                print(message.find("source").text)
        return 0
    pairs = sys.argv[2:]
    if len(pairs) % 2:
        print("sources and translations must come in pairs", file=sys.stderr)
        return 2
    wanted = dict(zip(pairs[::2], pairs[1::2]))
    found = set()
    for message in root.iter("message"):
        source = message.find("source").text
        if source in wanted:
            tr = message.find("translation")
            tr.text = wanted[source]
            tr.attrib.pop("type", None)
            found.add(source)
    missing = set(wanted) - found
    for source in sorted(missing):
        print(f"not in {path}: {source}", file=sys.stderr)
    with open(path, "w", encoding="utf-8") as out:
        out.write('<?xml version="1.0" encoding="utf-8"?>\n<!DOCTYPE TS>\n')
        ET.indent(tree, space="    ")
        out.write(ET.tostring(root, encoding="unicode"))
        out.write("\n")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
