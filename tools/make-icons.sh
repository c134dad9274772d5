#!/usr/bin/env bash
# Copies the interface's icons from the Lucide set (npm lucide-static, ISC licence) into
# resources/images/icons/, one file per icon and palette tone ("send-accent.svg"), with the
# set's licence and a generated icons.qrc. Run by hand when the list changes; the output is
# committed. usage: tools/make-icons.sh
set -euo pipefail
cd "$(dirname "$0")/.."
version=1.62.0
# Every icon the windows use, by its Lucide name.
icons=(
    message-circle users history inbox settings log-out search x chevron-left chevron-right
    chevron-down menu circle-user paperclip smile send zap credit-card download folder-open
    file file-text image check check-check user-plus ban door-open circle-stop bell-off
    briefcase copy external-link zoom-in zoom-out arrow-down filter calendar refresh-cw
    file-down globe eye eye-off plus pencil trash-2 mail phone map-pin monitor link
    panel-right-open panel-right-close circle-alert wifi-off lock
)
# Palette tones of the style sheet.
declare -A tones=(
    [text]="#1d2033" [muted]="#8a8fa8" [accent]="#2f6bff" [white]="#ffffff"
    [alert]="#fa2749" [online]="#21c17a" [menu]="#aeb1d0"
)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack --silent "lucide-static@$version" >/dev/null && tar xzf lucide-static-*.tgz)
out=resources/images/icons
rm -f "$out"/*.svg
cp "$work/package/LICENSE" "$out/LICENSE.lucide"
{
    echo '<RCC>'
    echo '    <qresource prefix="/resources/images/icons">'
    for name in "${icons[@]}"; do
        src="$work/package/icons/$name.svg"
        [ -f "$src" ] || { echo "no icon $name in lucide-static $version" >&2; exit 1; }
        for tone in "${!tones[@]}"; do
            # Qt's SVG renderer does not resolve currentColor: each tone is its own file.
            sed -e "s/currentColor/${tones[$tone]}/g" -e '/^<!--/d' "$src" >"$out/$name-$tone.svg"
            echo "        <file>$name-$tone.svg</file>"
        done
    done
    echo '    </qresource>'
    echo '</RCC>'
} >"$out/icons.qrc.tmp"
# Sorted, so that the file changes only when the list does.
{ head -2 "$out/icons.qrc.tmp"; sed -n '3,$p' "$out/icons.qrc.tmp" | grep '<file>' | sort; tail -2 "$out/icons.qrc.tmp"; } >"$out/icons.qrc"
rm "$out/icons.qrc.tmp"
echo "$(ls "$out"/*.svg | wc -l) icon files in $out"
