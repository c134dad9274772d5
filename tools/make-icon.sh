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

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs the given Debian packages when they are not installed yet.
ensure_packages() {
    local missing=()
    local p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" \
            || missing+=("$p")
    done
    if [ "${#missing[@]}" -gt 0 ]; then
        echo "Installing: ${missing[*]}"
        as_root apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"
    fi
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
