#!/bin/sh
# check-user-unit.sh UNIT ORVELLACTL WORK
# systemd's own verifier on the user unit, with ExecStart pointed at the built orvellactl (the
# unit names the installed path). Unknown keys and bad values are warnings there; any output fails.
set -u
unit=$1 orvellactl=$2 work=$3
mkdir -p "$work"
sed "s|^ExecStart=[^ ]*/orvellactl |ExecStart=$orvellactl |" "$unit" > "$work/$(basename "$unit")"
grep -q "^ExecStart=$orvellactl apply-last --all\$" "$work/$(basename "$unit")" ||
    { echo "FAIL: the unit's ExecStart is not orvellactl apply-last --all"; exit 1; }
exec sh "$(dirname "$0")/quiet-or-fail.sh" systemd-analyze verify --man=no "$work/$(basename "$unit")"
