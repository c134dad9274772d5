#!/usr/bin/env bash
# Renders the emoji pictures in resources/emoji/ from Debian's Noto Color
# Emoji font and writes resources/emoji/emoji.qrc and resources/emoji/LICENSE.
#
# Every code point in U+1F000..U+1FFFF covered by the font becomes a 40 x 40
# transparent PNG named emoji_<hex>.png. Re-running replaces all pictures.
#
# Usage: tools/make-emoji.sh            (from any directory)
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/.." && pwd)"
out="$root/resources/emoji"
font=/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf
copyright=/usr/share/doc/fonts-noto-color-emoji/copyright
size=40

ensure_packages() {
    "$here/setup-deps.sh" "$@"
}

ensure_packages cmake ninja-build g++ qtbase5-dev fonts-noto-color-emoji optipng

[ -f "$font" ] || { echo "font not found: $font" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

echo "Building emojirender..."
cmake -S "$here/emojirender" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/build" >/dev/null

echo "Rendering..."
mkdir -p "$work/png"
QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="$work" \
    "$work/build/emojirender" "$font" "$work/png" "$size" 1f000 1ffff

echo "Optimising PNGs..."
find "$work/png" -name 'emoji_*.png' -print0 \
    | xargs -0 -n 64 -P "$(nproc)" optipng -quiet -o2 -strip all

# Replace the previous pictures.
mkdir -p "$out"
find "$out" -maxdepth 1 -name 'emoji_*.png' -delete
cp "$work"/png/emoji_*.png "$out"/

# Resource file, sorted by code point; aliases carry no extension so the
# resource paths look like :/emoji/resources/emoji/emoji_1f600.
{
    echo '<!DOCTYPE RCC>'
    echo '<RCC version="1.0">'
    echo '<qresource prefix="/emoji">'
    (cd "$out" && ls emoji_*.png) \
        | sed 's/^emoji_\([0-9a-f]*\)\.png$/\1/' \
        | while read -r hex; do printf '%d %s\n' "0x$hex" "$hex"; done \
        | sort -n \
        | while read -r _ hex; do
            printf '    <file alias="resources/emoji/emoji_%s">emoji_%s.png</file>\n' "$hex" "$hex"
        done
    echo '</qresource>'
    echo '</RCC>'
} > "$out/emoji.qrc"

{
    echo "The pictures emoji_*.png in this directory are rendered from the"
    echo "\"Noto Color Emoji\" font as shipped by Debian (package fonts-noto-color-emoji,"
    echo "version $(dpkg-query -W -f='${Version}' fonts-noto-color-emoji)) by tools/make-emoji.sh."
    echo "The font is licensed under the SIL Open Font License 1.1 and its images"
    echo "under the Apache License 2.0, as stated in the Debian copyright file below."
    echo
    echo "------------------------------------------------------------------------"
    echo "Contents of $copyright:"
    echo
    cat "$copyright"
    if [ -f /usr/share/common-licenses/Apache-2.0 ]; then
        echo
        echo "------------------------------------------------------------------------"
        echo "Full text of the Apache License 2.0 (/usr/share/common-licenses/Apache-2.0):"
        echo
        cat /usr/share/common-licenses/Apache-2.0
    fi
} > "$out/LICENSE"

count="$(find "$out" -maxdepth 1 -name 'emoji_*.png' | wc -l)"
echo "Wrote $count emoji pictures to ${out#"$root"/} ($(du -sh --apparent-size "$out" | cut -f1) total)."
