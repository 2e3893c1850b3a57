#!/bin/sh
# check-user-unit.sh UNIT ORVELLACTL WORK
# The user unit, with ExecStart pointed at the built orvellactl (the unit names the installed
# path): systemd's own verifier (unknown keys and bad values are warnings there; any output
# fails), the sandbox settings whose loss the exposure score does not show, and the exposure
# score that `systemd-analyze security` gives it as a user unit, which must stay under 5.
# Exits 77 (skipped) after the other checks when systemd-analyze cannot score a unit file.
set -u
unit=$1 orvellactl=$2 work=$3
mkdir -p "$work"
copy=$work/$(basename "$unit")
sed "s|^ExecStart=[^ ]*/orvellactl |ExecStart=$orvellactl |" "$unit" > "$copy"
status=0
fail() { echo "FAIL: $*"; status=1; }

grep -q "^ExecStart=$orvellactl apply-last --all\$" "$copy" ||
    fail "the unit's ExecStart is not orvellactl apply-last --all"
sh "$(dirname "$0")/quiet-or-fail.sh" systemd-analyze verify --man=no "$copy" ||
    fail "systemd-analyze verify complains"

# A user manager sets up mount, network and IPC namespaces only inside a user namespace; without
# PrivateUsers=yes it skips them quietly and the score below would not notice.
grep -q '^PrivateUsers=yes$' "$copy" || fail "no PrivateUsers=yes: a user manager ignores ProtectSystem= and the like"
# orvellactl saves the camera's state in $XDG_CONFIG_HOME/orvella (%E in a user unit).
grep -q '^ProtectSystem=strict$' "$copy" || fail "no ProtectSystem=strict"
grep -q '^ReadWritePaths=-%E/orvella$' "$copy" || fail "the preferences directory %E/orvella is not writable"
# The cameras are reached through /dev/videoN and /dev/bus/usb with the user's own access;
# a device allow-list (ProtectClock= implies one) or a private /dev would hide them.
if grep -Eq '^(PrivateDevices=(yes|true|on|1)|DevicePolicy=|DeviceAllow=|ProtectClock=(yes|true|on|1))' "$copy"; then
    fail "the unit restricts /dev, where the cameras are"
fi
# libudev and libusb watch devices over netlink.
grep -q '^RestrictAddressFamilies=AF_UNIX AF_NETLINK$' "$copy" || fail "the address families are not AF_UNIX and AF_NETLINK"
# The settings any oneshot can take.
for line in NoNewPrivileges=yes SystemCallFilter=@system-service SystemCallArchitectures=native \
            LockPersonality=yes MemoryDenyWriteExecute=yes RestrictRealtime=yes RestrictSUIDSGID=yes \
            ProtectKernelTunables=yes ProtectKernelModules=yes ProtectControlGroups=yes \
            TimeoutStartSec=30; do
    grep -qx "$line" "$copy" || fail "no $line"
done
[ "$status" -eq 0 ] || exit 1

if ! systemd-analyze security --help 2>&1 | grep -q -- '--offline'; then
    echo "SKIP: this systemd-analyze cannot score unit files (security --offline, systemd 250 and later)"
    exit 77
fi
# Scoring a user unit starts a user manager's lookup, which needs a runtime directory.
runtime=${XDG_RUNTIME_DIR:-}
if [ -z "$runtime" ] || [ ! -d "$runtime" ]; then
    runtime=$work/runtime
    mkdir -p "$runtime" && chmod 700 "$runtime"
fi
report=$(XDG_RUNTIME_DIR=$runtime systemd-analyze security --offline=true --user "$copy" 2>&1)
score=$(printf '%s\n' "$report" | sed -n 's/.*Overall exposure level for [^:]*: \([0-9][0-9.]*\).*/\1/p')
if [ -z "$score" ]; then
    printf '%s\n' "$report"
    echo "FAIL: systemd-analyze security gave no exposure level"
    exit 1
fi
if awk -v s="$score" 'BEGIN { exit !(s < 5) }'; then
    echo "exposure level $score (under 5)"
else
    printf '%s\n' "$report"
    echo "FAIL: exposure level $score, not under 5"
    exit 1
fi
