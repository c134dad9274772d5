#!/usr/bin/env bash
# Synthesises the chat notification sounds resources/sounds/chat1.mp3 ...
# chat13.mp3 with sox and encodes them with lame (mono, 44.1 kHz, 96 kbps).
#
# Everything is generated from plain oscillators (sine, triangle, plucked
# string); no recorded samples are used. Each sound is built from "notes"
# placed on a short timeline, mixed, given a touch of reverb, faded in/out
# and normalised to about -3 dBFS peak.
#
# Usage: tools/make-sounds.sh            (from any directory)
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/.." && pwd)"
out="$root/resources/sounds"
rate=44100

ensure_packages() {
    "$here/setup-deps.sh" "$@"
}

ensure_packages sox lame

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Repeatable mode: fixed seeds for dither and noise, so re-running the script
# reproduces identical files.
sox() { command sox -R "$@"; }

calc() { awk "BEGIN { printf \"%.6f\", $* }"; }

# ---------------------------------------------------------------------------
# Timeline building blocks. Each call appends one decaying partial to the
# current sound; begin_sound resets the list.
parts=()
part_no=0

begin_sound() {
    parts=()
    # A silent track keeps "sox -m" happy even for single-partial sounds.
    local f="$work/silence.wav"
    sox -q -n -r "$rate" -c 1 -e floating-point -b 32 "$f" trim 0 0.05
    parts+=(-v 1 "$f")
}

# partial OFFSET WAVE FREQ DURATION FADE-SHAPE VOLUME [EFFECT...]
#   One oscillator that starts at OFFSET seconds, lasts DURATION seconds and
#   decays to silence with the given sox fade shape (l = fast, percussive;
#   h/q = slower, bell-like; t = linear). A short half-sine attack avoids
#   clicks. Extra sox effects (e.g. a lowpass) may follow.
partial() {
    local off="$1" wave="$2" freq="$3" dur="$4" shape="$5" vol="$6"
    shift 6
    # Keep everything well below Nyquist and out of the harsh top range.
    if awk "BEGIN { exit !(${freq%%/*} > 12000) }"; then return 0; fi
    local f="$work/part$((part_no += 1)).wav"
    sox -q -n -r "$rate" -c 1 -e floating-point -b 32 "$f" \
        synth "$dur" "$wave" "$freq" "$@" \
        fade "$shape" 0 "$dur" "$dur" fade h 0.006 pad "$off"
    # Scale down so that even a dense chord cannot clip while mixing; the
    # level is normalised at the end anyway.
    parts+=(-v "$(calc "$vol * 0.2")" "$f")
}

# Instruments: each is a small set of partials.
marimba() { # OFFSET FREQ DURATION VOLUME
    partial "$1" sine "$2" "$3" l "$4"
    partial "$1" sine "$(calc "$2 * 4")" "$(calc "$3 * 0.3")" l "$(calc "$4 * 0.16")"
    partial "$1" sine "$(calc "$2 * 9.9")" "$(calc "$3 * 0.12")" l "$(calc "$4 * 0.04")"
}
glock() { # OFFSET FREQ DURATION VOLUME
    partial "$1" sine "$2" "$3" l "$4"
    partial "$1" sine "$(calc "$2 * 2.76")" "$(calc "$3 * 0.4")" l "$(calc "$4 * 0.22")"
    partial "$1" sine "$(calc "$2 * 5.4")" "$(calc "$3 * 0.2")" l "$(calc "$4 * 0.08")"
}
bell() { # OFFSET FREQ DURATION VOLUME  (soft, slowly decaying)
    partial "$1" sine "$2" "$3" h "$4"
    partial "$1" sine "$(calc "$2 * 2")" "$(calc "$3 * 0.6")" l "$(calc "$4 * 0.3")"
    partial "$1" sine "$(calc "$2 * 3.01")" "$(calc "$3 * 0.3")" l "$(calc "$4 * 0.08")"
}
softtri() { # OFFSET FREQ DURATION VOLUME  (mellow, band-limited triangle)
    partial "$1" sine "$2" "$3" q "$4"
    partial "$1" sine "$(calc "$2 * 3")" "$(calc "$3 * 0.7")" q "$(calc "$4 / 9")"
    partial "$1" sine "$(calc "$2 * 5")" "$(calc "$3 * 0.5")" q "$(calc "$4 / 25")"
}
pluck() { # OFFSET FREQ DURATION VOLUME  (plucked string, softened)
    partial "$1" pluck "$2" "$3" t "$4" lowpass 3500 lowpass 5000
    partial "$1" sine "$2" "$(calc "$3 * 0.6")" l "$(calc "$4 * 0.3")"
}
sweep() { # OFFSET FROM TO DURATION VOLUME  (exponential pitch glide)
    partial "$1" sine "$2/$3" "$4" h "$5"
}

# finish_sound NAME LENGTH REVERB
#   Mixes the partials, adds a light reverb, trims to LENGTH seconds, fades
#   and normalises, then encodes resources/sounds/NAME.mp3.
finish_sound() {
    local name="$1" len="$2" rev="$3"
    local mix="$work/$name-mix.wav" wet="$work/$name-wet.wav" wav="$work/$name.wav"
    sox -q -m "${parts[@]}" "$mix"
    sox -q "$mix" "$wet" highpass 120 gain -n -6 pad 0 0.5 reverb "$rev" 60 35 0 0 -6
    sox -q "$wet" -r "$rate" -c 1 -b 16 -e signed-integer "$wav" \
        trim 0 "$len" \
        fade q 0.003 "$len" "$(calc "$len * 0.25")" \
        gain -n -2.7
    lame --quiet --noreplaygain -m m -b 96 --resample 44.1 "$wav" "$out/$name.mp3"
}

mkdir -p "$out"

# Note frequencies (equal temperament, A4 = 440 Hz).
G4=392.00; A4=440.00; C5=523.25; D5=587.33; E5=659.26; F5=698.46
G5=783.99; A5=880.00; B5=987.77; C6=1046.50; D6=1174.66; E6=1318.51
G6=1567.98

# 1: two-note rising marimba.
begin_sound
marimba 0.00 $E5 0.45 1.0
marimba 0.11 $B5 0.45 0.9
finish_sound chat1 0.55 30

# 2: single bright ding.
begin_sound
bell 0.00 $C6 0.70 1.0
finish_sound chat2 0.60 35

# 3: mellow triangle arpeggio C-E-G.
begin_sound
softtri 0.00 $C5 0.40 1.0
softtri 0.09 $E5 0.40 0.9
softtri 0.18 $G5 0.50 0.9
finish_sound chat3 0.70 30

# 4: two-tone falling "ding-dong".
begin_sound
bell 0.00 $G5 0.45 1.0
bell 0.22 $C5 0.60 1.0
finish_sound chat4 0.80 35

# 5: soft major chord.
begin_sound
bell 0.00 $C5 1.00 0.9
bell 0.00 $E5 1.00 0.8
bell 0.00 $G5 1.00 0.7
bell 0.00 $C6 0.80 0.4
finish_sound chat5 1.00 40

# 6: quick double tap.
begin_sound
marimba 0.00 $D6 0.18 1.0
marimba 0.10 $D6 0.22 0.8
finish_sound chat6 0.35 20

# 7: glockenspiel sparkle, four notes rising.
begin_sound
glock 0.00 $G5 0.45 0.9
glock 0.08 $C6 0.45 0.9
glock 0.16 $E6 0.45 0.85
glock 0.24 $G6 0.55 0.8
finish_sound chat7 0.90 35

# 8: water-drop "bloop".
begin_sound
sweep 0.00 380 1150 0.16 1.0
sweep 0.00 760 2300 0.10 0.15
finish_sound chat8 0.30 25

# 9: soft rising fifth.
begin_sound
softtri 0.00 $D5 0.35 1.0
softtri 0.14 $A5 0.45 1.0
finish_sound chat9 0.65 50

# 10: strummed A minor seventh.
begin_sound
pluck 0.00 $A4 1.00 1.0
pluck 0.03 $C5 0.97 0.9
pluck 0.06 $E5 0.94 0.85
pluck 0.09 $G5 0.91 0.8
finish_sound chat10 1.08 40

# 11: warm, long bell.
begin_sound
bell 0.00 $F5 1.20 1.0
partial 0.00 sine "$(calc "$F5 * 2.76")" 0.35 l 0.10
partial 0.00 sine "$(calc "$F5 / 2")" 1.20 q 0.25
finish_sound chat11 1.12 45

# 12: three quick marimba notes.
begin_sound
marimba 0.00 $B5 0.25 0.9
marimba 0.09 $B5 0.25 0.8
marimba 0.18 $E6 0.40 1.0
finish_sound chat12 0.60 30

# 13: low marimba climbing an octave.
begin_sound
marimba 0.00 $G4 0.50 1.0
marimba 0.14 $D5 0.50 0.9
marimba 0.28 $G5 0.60 0.9
finish_sound chat13 1.00 35

echo "Wrote 13 sounds to ${out#"$root"/}:"
for i in $(seq 1 13); do
    f="$out/chat$i.mp3"
    printf '  %-11s %5.2f s  %6d bytes\n' "chat$i.mp3" \
        "$(soxi -D "$f")" "$(stat -c %s "$f")"
done
