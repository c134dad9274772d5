#!/usr/bin/env bash
# Renders the application icon resources/images/icon.png (512 x 512, transparent
# corners) from tools/icon.svg and writes the small white close icon
# resources/images/close.svg used by notice windows.
#
# Usage: tools/make-icon.sh            (from any directory)
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/.." && pwd)"
out="$root/resources/images"

ensure_packages() {
    "$here/setup-deps.sh" "$@"
}

ensure_packages librsvg2-bin optipng

mkdir -p "$out"

rsvg-convert --width 512 --height 512 --format png "$here/icon.svg" -o "$out/icon.png"
optipng -quiet -o2 -strip all "$out/icon.png"

cat > "$out/close.svg" <<'SVG'
<svg xmlns="http://www.w3.org/2000/svg" width="16" height="16" viewBox="0 0 16 16">
  <path d="M4 4 L12 12 M12 4 L4 12" fill="none" stroke="#ffffff" stroke-width="1.8"
        stroke-linecap="round" stroke-linejoin="round"/>
</svg>
SVG

echo "Wrote ${out#"$root"/}/icon.png ($(stat -c %s "$out/icon.png") bytes) and ${out#"$root"/}/close.svg."
