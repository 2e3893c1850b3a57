#!/usr/bin/env bash
# The kernel test suite's one boot: builds an initramfs from Debian packages (the kernel's own
# modules and busybox-static, downloaded once into a cache) and our guest programs with the
# shared libraries they need, boots Debian's kernel under qemu, runs every guest test inside
# and writes their results for CTest.
#
#   kernel-suite.sh --source DIR --guest-build DIR --work DIR [--only NAME]
#
# WORK/results.txt then holds "NAME PASS|FAIL" per guest test, or one line "SKIP reason" when
# this machine cannot run the suite (no qemu, no Debian packages, qemu cannot boot);
# WORK/logs/NAME.log holds each test's output and WORK/console.log the whole serial console.
set -uo pipefail

SOURCE= GUEST= WORK= ONLY=
while [ $# -gt 0 ]; do
    case $1 in
        --source) SOURCE=$2; shift 2 ;;
        --guest-build) GUEST=$2; shift 2 ;;
        --work) WORK=$2; shift 2 ;;
        --only) ONLY=$2; shift 2 ;;
        *) echo "kernel-suite.sh: unknown argument $1" >&2; exit 2 ;;
    esac
done
[ -n "$SOURCE" ] && [ -n "$GUEST" ] && [ -n "$WORK" ] || { echo "kernel-suite.sh: --source, --guest-build and --work are required" >&2; exit 2; }

BOOT_TIMEOUT=${ORVELLA_KERNEL_TIMEOUT:-270}   # seconds for the whole boot-test-poweroff run
CACHE=$WORK/cache
RESULTS=$WORK/results.txt
CONSOLE=$WORK/console.log
mkdir -p "$CACHE"
rm -rf "$RESULTS" "$WORK/logs" "$WORK/rootfs"
mkdir -p "$WORK/logs"

say() { echo "kernel suite: $*"; }
skip() {
    echo "SKIP $*" > "$RESULTS"
    say "SKIPPED: $*"
    exit 0
}
die() {
    say "ERROR: $*"
    exit 1
}

command -v qemu-system-x86_64 >/dev/null ||
    skip "qemu-system-x86_64 is not installed (Debian package qemu-system-x86)"
for tool in apt-get apt-cache dpkg-deb ldd; do
    command -v $tool >/dev/null || skip "$tool is missing; the suite needs a Debian system"
done

# ---- Debian packages, downloaded once ----
deb_of() { ls "$CACHE"/"$1"_*.deb 2>/dev/null | sort -V | tail -n 1; }
fetch() {  # fetch PACKAGE: the cached .deb, downloaded when missing
    local deb
    deb=$(deb_of "$1")
    if [ -z "$deb" ]; then
        (cd "$CACHE" && apt-get download "$1" >"$CACHE/download.log" 2>&1) ||
            skip "cannot download the Debian package $1 (apt-get download $1: $(tail -n 1 "$CACHE/download.log"))"
        deb=$(deb_of "$1")
    fi
    echo "$deb"
}

KERNEL_PACKAGE=$(apt-cache depends linux-image-amd64 2>/dev/null | awk '/Depends: linux-image-[0-9]/ { print $2; exit }')
if [ -z "$KERNEL_PACKAGE" ]; then
    # No package lists: fall back on a kernel cached by an earlier run.
    KERNEL_PACKAGE=$(ls "$CACHE" 2>/dev/null | sed -n 's/^\(linux-image-[0-9][^_]*\)_.*\.deb$/\1/p' | tail -n 1)
    [ -n "$KERNEL_PACKAGE" ] || skip "apt-cache does not know linux-image-amd64 (run apt-get update)"
fi
KERNEL_DEB=$(fetch "$KERNEL_PACKAGE")
BUSYBOX_DEB=$(fetch busybox-static)

# Only the kernel image and the modules of the USB core, USB/IP and the UVC driver are unpacked.
KDIR=$CACHE/$(basename "$KERNEL_DEB" .deb)
if [ ! -f "$KDIR/.unpacked" ]; then
    rm -rf "$KDIR" && mkdir -p "$KDIR"
    dpkg-deb --fsys-tarfile "$KERNEL_DEB" | tar -x -C "$KDIR" --wildcards \
        '*/vmlinuz-*' '*/kernel/drivers/usb/common/*' '*/kernel/drivers/usb/core/*' \
        '*/kernel/drivers/usb/usbip/*' '*/kernel/drivers/media/mc/*' '*/kernel/drivers/media/v4l2-core/*' \
        '*/kernel/drivers/media/common/videobuf2/*' '*/kernel/drivers/media/usb/uvc/*' ||
        die "cannot unpack $KERNEL_DEB"
    touch "$KDIR/.unpacked"
fi
VMLINUZ=$(ls "$KDIR"/boot/vmlinuz-* | head -n 1)
BBDIR=$CACHE/$(basename "$BUSYBOX_DEB" .deb)
if [ ! -x "$BBDIR/bin/busybox" ]; then
    mkdir -p "$BBDIR" && dpkg-deb -x "$BUSYBOX_DEB" "$BBDIR" || die "cannot unpack $BUSYBOX_DEB"
fi
BUSYBOX=$BBDIR/bin/busybox

# udev, for the test of what the user at the seat may open: udevadm, which is also the daemon,
# the rules that import the USB properties and set the nodes' modes (udev), and the rule that
# tags devices for the seat's user (systemd, next to logind). Optional: without them that one
# test says so and fails.
UDEV_DEB=$(ls "$CACHE"/udev_*.deb 2>/dev/null | sort -V | tail -n 1)
if [ -z "$UDEV_DEB" ]; then
    (cd "$CACHE" && apt-get download udev >"$CACHE/download.log" 2>&1) &&
        UDEV_DEB=$(ls "$CACHE"/udev_*.deb 2>/dev/null | sort -V | tail -n 1)
fi
UDEVDIR=
if [ -n "$UDEV_DEB" ]; then
    UDEVDIR=$CACHE/$(basename "$UDEV_DEB" .deb)
    if [ ! -x "$UDEVDIR/bin/udevadm" ]; then
        mkdir -p "$UDEVDIR" && dpkg-deb -x "$UDEV_DEB" "$UDEVDIR" || UDEVDIR=
    fi
fi
SYSTEMD_DEB=$(ls "$CACHE"/systemd_*.deb 2>/dev/null | sort -V | tail -n 1)
if [ -z "$SYSTEMD_DEB" ]; then
    (cd "$CACHE" && apt-get download systemd >"$CACHE/download.log" 2>&1) &&
        SYSTEMD_DEB=$(ls "$CACHE"/systemd_*.deb 2>/dev/null | sort -V | tail -n 1)
fi
UACCESS_RULES=
if [ -n "$SYSTEMD_DEB" ]; then
    UACCESS_RULES=$CACHE/$(basename "$SYSTEMD_DEB" .deb)-70-uaccess.rules
    if [ ! -s "$UACCESS_RULES" ]; then
        dpkg-deb --fsys-tarfile "$SYSTEMD_DEB" | tar -x -O ./lib/udev/rules.d/70-uaccess.rules \
            > "$UACCESS_RULES" 2>/dev/null && [ -s "$UACCESS_RULES" ] || { rm -f "$UACCESS_RULES"; UACCESS_RULES=; }
    fi
fi

# The modules in load order: each after the modules its "depends=" field names.
declare -A MODULE LOADED
ORDER=()
while IFS= read -r ko; do MODULE[$(basename "$ko" .ko)]=$ko; done < <(find "$KDIR" -name '*.ko')
load() {
    local m=$1 d
    [ -n "${LOADED[$m]:-}" ] && return 0
    [ -n "${MODULE[$m]:-}" ] || die "module $m is not in $KERNEL_DEB"
    LOADED[$m]=1
    for d in $(tr '\0' '\n' < "${MODULE[$m]}" | sed -n 's/^depends=//p' | head -n 1 | tr ',' ' '); do
        load "$d"
    done
    ORDER+=("$m")
}
load vhci-hcd
load uvcvideo

# ---- Our programs, without sanitizers ----
if [ ! -f "$GUEST/CMakeCache.txt" ]; then
    cmake -S "$SOURCE" -B "$GUEST" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$WORK/guest-build.log" 2>&1 ||
        { cat "$WORK/guest-build.log"; die "cannot configure the guest build in $GUEST"; }
fi
cmake --build "$GUEST" --target orvellactl orvella orvella-usbip-camera uvcreq orvella_pipewire_test_client >>"$WORK/guest-build.log" 2>&1 ||
    { tail -n 40 "$WORK/guest-build.log"; die "cannot build the guest programs"; }
PROGRAMS=("$GUEST/tools/orvellactl" "$GUEST/app/orvella" "$GUEST/tools/usbip-camera/orvella-usbip-camera" "$GUEST/tests/kernel/uvcreq"
          "$GUEST/tests/pipewire/orvella_pipewire_test_client")
[ -n "$UDEVDIR" ] && PROGRAMS+=("$UDEVDIR/bin/udevadm")
# A session bus for the test that calls the application's bus object while its camera is silent:
# the machine's own dbus-daemon and dbus-send (./run installs them). Optional: without them that
# one test says so and fails.
for tool in dbus-daemon dbus-send; do
    path=$(command -v $tool) && PROGRAMS+=("$path")
done

# PipeWire with its V4L2 plug-in, for the test of the shared stream on the real uvcvideo: the
# machine's daemon (./run test installs it), the modules a client and that daemon load, the
# support and V4L2 plug-ins, and the client configuration, at the paths the library was built
# with. Optional: without them that one test says so and fails.
PIPEWIRE_DAEMON=$(command -v pipewire || true)
PIPEWIRE_MODULES=$(pkg-config --variable=moduledir libpipewire-0.3 2>/dev/null || true)
PIPEWIRE_PLUGINS=$(pkg-config --variable=plugindir libspa-0.2 2>/dev/null || true)
PIPEWIRE_FILES=()
if [ -n "$PIPEWIRE_DAEMON" ] && [ -d "$PIPEWIRE_MODULES" ] && [ -d "$PIPEWIRE_PLUGINS" ] &&
   [ -f /usr/share/pipewire/client.conf ]; then
    PROGRAMS+=("$PIPEWIRE_DAEMON")
    for m in protocol-native client-node client-device adapter metadata session-manager access \
             link-factory spa-node-factory; do
        PIPEWIRE_FILES+=("$PIPEWIRE_MODULES/libpipewire-module-$m.so")
    done
    # The adapter around a video node loads the video converter even when it converts nothing.
    PIPEWIRE_FILES+=("$PIPEWIRE_PLUGINS/support/libspa-support.so" "$PIPEWIRE_PLUGINS/support/libspa-dbus.so"
                    "$PIPEWIRE_PLUGINS/v4l2/libspa-v4l2.so"
                    "$PIPEWIRE_PLUGINS/videoconvert/libspa-videoconvert.so")
fi

# ---- The initramfs ----
ROOT=$WORK/rootfs
mkdir -p "$ROOT"/{bin,proc,sys,dev,tmp,lib/modules,orvella/bin,orvella/cameras,orvella/tests}
cp "$BUSYBOX" "$ROOT/bin/busybox"
cp "$SOURCE/tests/kernel/init.sh" "$ROOT/init"
chmod 755 "$ROOT/init"
for m in "${ORDER[@]}"; do
    cp "${MODULE[$m]}" "$ROOT/lib/modules/"
    echo "$m" >> "$ROOT/lib/modules/order"
done
# Every shared library a program or plug-in needs, at the path the dynamic loader looks for it.
libraries_of() {
    for lib in $(ldd "$1" | awk '{ for (i = 1; i <= NF; ++i) if ($i ~ /^\//) print $i }'); do
        [ -e "$ROOT$lib" ] && continue
        mkdir -p "$ROOT$(dirname "$lib")"
        cp -L "$lib" "$ROOT$lib"
    done
}
for program in "${PROGRAMS[@]}"; do
    cp "$program" "$ROOT/orvella/bin/"
    libraries_of "$program"
done
# The application runs offscreen: Qt loads that platform plug-in from its plug-in folder.
# (where Qt looks: beside its real library folder, /usr/lib/..., not the /lib that ldd may name).
QT_LIBDIR=$(dirname "$(realpath "$(ldd "$GUEST/app/orvella" | awk '/libQt6Gui/ { print $3 }')")")
OFFSCREEN=$QT_LIBDIR/qt6/plugins/platforms/libqoffscreen.so
if [ -f "$OFFSCREEN" ]; then
    mkdir -p "$ROOT$(dirname "$OFFSCREEN")"
    cp -L "$OFFSCREEN" "$ROOT$OFFSCREEN"
    libraries_of "$OFFSCREEN"
fi
for file in "${PIPEWIRE_FILES[@]}"; do
    mkdir -p "$ROOT$(dirname "$file")"
    cp -L "$file" "$ROOT$file"
    libraries_of "$file"
done
if [ ${#PIPEWIRE_FILES[@]} -gt 0 ]; then
    mkdir -p "$ROOT/usr/share/pipewire"
    cp /usr/share/pipewire/client.conf "$ROOT/usr/share/pipewire/"
    cp "$SOURCE/tests/kernel/pipewire-guest.conf" "$ROOT/orvella/pipewire.conf"
fi
cp "$SOURCE"/tests/fixtures/cameras/*.json "$SOURCE"/tests/kernel/cameras/*.json "$ROOT/orvella/cameras/"
cp "$SOURCE"/tests/kernel/guest/*.sh "$ROOT/orvella/tests/"
mkdir -p "$ROOT/orvella/udev"
[ -n "$UDEVDIR" ] && cp "$UDEVDIR/lib/udev/rules.d/50-udev-default.rules" "$ROOT/orvella/udev/"
[ -n "$UACCESS_RULES" ] && cp "$UACCESS_RULES" "$ROOT/orvella/udev/70-uaccess.rules"
[ -n "$ONLY" ] && echo "$ONLY" > "$ROOT/orvella/only"
(cd "$ROOT" && find . | "$BUSYBOX" cpio -o -H newc 2>/dev/null) > "$WORK/initramfs.cpio" ||
    die "cannot pack the initramfs"

# ---- Boot ----
# TCG by default: on the machines this runs on /dev/kvm may exist and still hang the guest.
ACCEL=(-accel "${ORVELLA_KERNEL_ACCEL:-tcg}")
say "booting $(basename "$VMLINUZ") with $(du -m "$WORK/initramfs.cpio" | cut -f1) MB of initramfs (${ACCEL[*]})"
started=$(date +%s)
timeout "$BOOT_TIMEOUT" qemu-system-x86_64 "${ACCEL[@]}" -nographic -no-reboot -m 1024 \
    -kernel "$VMLINUZ" -initrd "$WORK/initramfs.cpio" \
    -append "console=ttyS0 loglevel=1 panic=-1" </dev/null 2>&1 | tr -d '\r' > "$CONSOLE"
qemu_status=${PIPESTATUS[0]}
say "the guest ran for $(( $(date +%s) - started )) s"

if ! grep -q '@@SUITE-START' "$CONSOLE"; then
    grep -q 'Kernel panic' "$CONSOLE" && { tail -n 30 "$CONSOLE"; die "the kernel panicked before the tests started"; }
    [ "$qemu_status" = 124 ] && skip "qemu did not start the guest within ${BOOT_TIMEOUT} s (see $CONSOLE)"
    skip "qemu could not boot the kernel (status $qemu_status: $(tail -n 1 "$CONSOLE"))"
fi
sed -n 's/^@@RESULT \([^ ]*\) \([A-Z]*\).*/\1 \2/p' "$CONSOLE" > "$RESULTS"
for name in $(sed -n 's/^@@BEGIN //p' "$CONSOLE"); do
    sed -n "s/^@@$name| //p" "$CONSOLE" > "$WORK/logs/$name.log"
done
grep '^@@FATAL' "$CONSOLE"
sed -n 's/^@@RESULT //p' "$CONSOLE"
grep -q '^@@SUITE-END' "$CONSOLE" || say "the guest stopped before the end of the suite (see $CONSOLE)"
exit 0
