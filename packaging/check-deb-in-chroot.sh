#!/usr/bin/env bash
# Installs a built orvella .deb into a fresh Debian 12 system the way a user would
# (`apt-get install ./orvella_*.deb`) and checks that the programs run there.
#
#   check-deb-in-chroot.sh --deb FILE --cache DIR [--keep]
#
# The base system is made once with debootstrap from Debian's mirror and cached as
# DIR/debian12-base.tar.gz; every run unpacks it into a new directory, so each check starts from a
# clean system. The mirrors come from ORVELLA_DEBIAN_MIRROR (default http://deb.debian.org/debian)
# and ORVELLA_DEBIAN_SECURITY_MIRROR (default http://deb.debian.org/debian-security).
#
# debootstrap, chroot and the mounts need root. Run as another user, the script goes through
# `sudo -n` when that works without a password; otherwise it says so and exits 77 (skipped).
set -euo pipefail

arguments=("$@")
deb="" cache="" keep=0
while [ $# -gt 0 ]; do
    case "$1" in
        --deb) deb=$2; shift 2 ;;
        --cache) cache=$2; shift 2 ;;
        --keep) keep=1; shift ;;
        *) echo "usage: $0 --deb FILE --cache DIR [--keep]" >&2; exit 2 ;;
    esac
done
[ -n "$deb" ] && [ -n "$cache" ] || { echo "usage: $0 --deb FILE --cache DIR [--keep]" >&2; exit 2; }
mirror=${ORVELLA_DEBIAN_MIRROR:-http://deb.debian.org/debian}
security=${ORVELLA_DEBIAN_SECURITY_MIRROR:-http://deb.debian.org/debian-security}

if [ ! -f "$deb" ]; then
    echo "check: no package at $deb; build it first (./run package)" >&2
    exit 1
fi
deb=$(realpath "$deb")
if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
        exec sudo -n --preserve-env=ORVELLA_DEBIAN_MIRROR,ORVELLA_DEBIAN_SECURITY_MIRROR \
            bash "$0" "${arguments[@]}"
    fi
    echo "SKIP: installing into a Debian 12 chroot needs root (debootstrap, chroot, mount)" \
         "and there is no password-less sudo; run 'sudo ./run package' to include this check" >&2
    exit 77
fi
for tool in debootstrap chroot tar; do
    command -v "$tool" >/dev/null 2>&1 || { echo "check: $tool is missing (apt-get install $tool)" >&2; exit 1; }
done

mkdir -p "$cache"
cache=$(realpath "$cache")
base=$cache/debian12-base.tar.gz

if [ ! -s "$base" ]; then
    echo "check: making a Debian 12 base system with debootstrap (once; cached as $base)"
    work=$(mktemp -d "$cache/debootstrap.XXXXXX")
    if ! debootstrap --variant=minbase bookworm "$work/root" "$mirror" >"$cache/debootstrap.log" 2>&1; then
        tail -n 30 "$cache/debootstrap.log" >&2
        echo "check: debootstrap failed (full log: $cache/debootstrap.log)" >&2
        rm -rf "$work"
        exit 1
    fi
    chroot "$work/root" apt-get clean
    tar --numeric-owner -C "$work/root" -czf "$base.tmp" .
    mv "$base.tmp" "$base"
    rm -rf "$work"
fi

root=$(mktemp -d "$cache/root.XXXXXX")
cleanup() {
    for m in sys proc; do
        if mountpoint -q "$root/$m" 2>/dev/null; then umount "$root/$m" || umount -l "$root/$m"; fi
    done
    if [ "$keep" -eq 1 ]; then echo "check: the system is kept in $root"; else rm -rf "$root"; fi
}
trap cleanup EXIT
tar --numeric-owner -C "$root" -xzf "$base"
cat >"$root/etc/apt/sources.list" <<EOF
deb $mirror bookworm main
deb $mirror bookworm-updates main
deb $security bookworm-security main
EOF
[ -f /etc/resolv.conf ] && cp -L /etc/resolv.conf "$root/etc/resolv.conf"
mount -t proc proc "$root/proc"
mount -t sysfs -o ro sysfs "$root/sys"
name=$(basename "$deb")
cp "$deb" "$root/tmp/$name"

# Runs a command in the new system with a plain environment (no display, no session bus).
in_root() {
    chroot "$root" /usr/bin/env -i PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin HOME=/root \
        LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

failures=0
pass() { echo "PASS $*"; }
fail() { echo "FAIL $*"; failures=$((failures + 1)); }
note() { echo "NOTE $*"; }

# check [--lines N] NAME COMMAND...: the command must succeed; the start of its output is shown.
check() {
    local lines=40
    if [ "$1" = --lines ]; then lines=$2; shift 2; fi
    local name=$1; shift
    local output status=0
    output=$(in_root timeout 60 "$@" 2>&1) || status=$?
    if [ "$status" -eq 0 ]; then pass "$name"; else fail "$name (exit status $status)"; fi
    # head may close the pipe early on a long output; that is not a failure of the check.
    [ -z "$output" ] || printf '%s\n' "$output" | sed 's/^/    /' | head -n "$lines" || true
    return 0
}

echo "check: apt-get update"
in_root apt-get update -q >"$cache/apt-update.log" 2>&1 || { cat "$cache/apt-update.log" >&2; fail "apt-get update"; exit 1; }
echo "check: apt-get install ./$name"
if in_root sh -c "cd /tmp && apt-get install -y -q --no-install-recommends ./$name" >"$cache/apt-install.log" 2>&1; then
    pass "apt-get install ./$name"
else
    tail -n 40 "$cache/apt-install.log" | sed 's/^/    /'
    fail "apt-get install ./$name"
    exit 1
fi
in_root dpkg-query -W -f='    Depends: ${Depends}\n    Recommends: ${Recommends}\n' orvella

check --lines 3 "orvellactl --help" orvellactl --help
check "orvellactl list" orvellactl list
check "orvellactl --demo list" orvellactl --demo list
if in_root test -x /usr/bin/orvella; then
    check --lines 10 "orvella --help" orvella --help
    check "orvella --version" orvella --version
    if in_root test -f /usr/share/man/man1/orvella.1.gz; then pass "installed orvella(1)"; else fail "missing orvella(1)"; fi
else
    note "the package holds no orvella: the tray application joins the build from app/"
fi
if [[ $(in_root orvellactl --help 2>/dev/null) == *apply-last* ]]; then
    # What the systemd user unit runs at login; with no camera it has nothing to do.
    check "orvellactl apply-last --all" orvellactl apply-last --all
else
    note "this orvellactl has no apply-last yet, which orvella-restore.service runs"
fi

for path in /usr/bin/orvellactl /usr/share/applications/org.orvella.Orvella.desktop \
            /usr/share/metainfo/org.orvella.Orvella.metainfo.xml \
            /usr/share/icons/hicolor/scalable/apps/org.orvella.Orvella.svg \
            /usr/share/icons/hicolor/48x48/apps/org.orvella.Orvella.png \
            /usr/share/man/man1/orvellactl.1.gz \
            /usr/lib/systemd/user/orvella-restore.service \
            /usr/share/doc/orvella/copyright /usr/share/doc/orvella/changelog.Debian.gz; do
    if in_root test -f "$path"; then pass "installed $path"; else fail "missing $path"; fi
done
# Every .qm of the package lies where the application looks for translations.
qms=$(in_root dpkg -L orvella | grep '\.qm$' || true)
if [ -n "$qms" ]; then
    if printf '%s\n' "$qms" | grep -qv '^/usr/share/orvella/translations/'; then
        fail "translations outside /usr/share/orvella/translations"
    else
        pass "translations in /usr/share/orvella/translations ($(printf '%s\n' "$qms" | wc -l) files)"
    fi
else
    note "the package holds no translations: the Linguist tables come from ui/translations"
fi

if in_root apt-get purge -y -q orvella >"$cache/apt-purge.log" 2>&1 && ! in_root test -e /usr/bin/orvellactl; then
    pass "apt-get purge orvella"
else
    fail "apt-get purge orvella"
fi

if [ "$failures" -ne 0 ]; then
    echo "check: $failures check(s) failed in the Debian 12 chroot"
    exit 1
fi
echo "check: $name installs and runs on a fresh Debian 12"
