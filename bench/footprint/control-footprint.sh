#!/bin/sh
# How many product source files and lines name each image control by its settings key, at one
# or more revisions: the cost of reading (or adding) one control.
#
#   bench/footprint/control-footprint.sh [REV...]      (default: HEAD)
#
# "files" and "lines" count the key as a whole word ("BacklightCompensation": the key itself, a
# table row, a string); "any form" also counts the files where it is part of a longer name
# (setBacklightCompensation, curBacklightCompensation). Translations, tests, benchmarks and fuzz
# targets are left out.
set -eu
cd "$(dirname "$0")/../.."
KEYS="AutoExposureMode AutoExposurePriority ExposureTimeAbsolute Brightness Contrast Hue
Saturation Sharpness Gamma WhiteBalanceTemperatureAuto WhiteBalanceTemperature
PowerLineFrequency BacklightCompensation Gain FocusAuto FocusAbsolute ZoomAbsolute PanAbsolute
TiltAbsolute Aperture NoiseReduction LEDIndex"
DIRS="app camera capture media platform settings ui tools"
[ $# -gt 0 ] || set -- HEAD
printf '%-12s %-28s %6s %6s %9s\n' revision key files lines 'any form'
for rev in "$@"; do
    total_files=0
    total_lines=0
    total_any=0
    most=0
    for key in $KEYS; do
        files=$(git grep -lw "$key" "$rev" -- $DIRS 2>/dev/null | grep -E '\.(cpp|h)$' | wc -l)
        lines=$(git grep -hw "$key" "$rev" -- $(for d in $DIRS; do echo "$d/*.cpp" "$d/*.h"; done) 2>/dev/null | wc -l)
        anyform=$(git grep -l "$key" "$rev" -- $DIRS 2>/dev/null | grep -E '\.(cpp|h)$' | wc -l)
        printf '%-12s %-28s %6d %6d %9d\n' "$(git rev-parse --short "$rev")" "$key" "$files" "$lines" "$anyform"
        total_any=$((total_any + anyform))
        total_files=$((total_files + files))
        total_lines=$((total_lines + lines))
        [ "$files" -gt "$most" ] && most=$files
    done
    n=$(echo $KEYS | wc -w)
    awk -v r="$(git rev-parse --short "$rev")" -v f="$total_files" -v l="$total_lines" \
        -v a="$total_any" -v n="$n" -v m="$most" 'BEGIN {
        printf "%-12s per control: %.1f files (at most %d), %.1f lines; any form: %.1f files\n\n",
            r, f / n, m, l / n, a / n }'
done
