#!/usr/bin/env bash
# Names the Inter Bold faces in resources/fonts as the other weights are named: a family of their
# own, "Inter Bold", with the regular and italic styles (Inter ships them as the bold styles of
# "Inter"). The console maps "Museo Sans Cyrl 700" to that family; without it the bold texts fell
# back to a system font. Safe to run again: the names are set, not edited.
#
# Usage: tools/make-fonts.sh            (from any directory)
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
fonts="$(cd "$here/../resources/fonts" && pwd)"

"$here/setup-deps.sh" python3-fonttools

/usr/bin/python3 - "$fonts" <<'PY'
import sys
from fontTools.ttLib import TTFont

REGULAR, BOLD, ITALIC, TYPO = 1 << 6, 1 << 5, 1 << 0, 1 << 7
faces = {
    "Inter-Bold.otf": ("Regular", "Bold", REGULAR, 0),
    "Inter-BoldItalic.otf": ("Italic", "Bold Italic", ITALIC, 2),
}
for file, (style, typographic, selection, mac) in faces.items():
    path = f"{sys.argv[1]}/{file}"
    font = TTFont(path)
    names = font["name"]
    for record in list(names.names):
        if record.nameID in (1, 2, 16, 17):
            names.removeNames(nameID=record.nameID)
    for name_id, value in ((1, "Inter Bold"), (2, style), (16, "Inter"), (17, typographic)):
        names.setName(value, name_id, 3, 1, 0x409)
        names.setName(value, name_id, 1, 0, 0)
    os2 = font["OS/2"]
    os2.fsSelection = (os2.fsSelection & TYPO) | selection
    font["head"].macStyle = mac
    font.save(path)
    print(f"{file}: family Inter Bold, style {style}")
PY
