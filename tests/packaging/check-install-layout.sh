#!/bin/sh
# check-install-layout.sh SOURCE_DIR BUILD_DIR PREFIX HAS_APP
# Installs the build into PREFIX and checks the layout a desktop and a user expect.
set -u
source=$1 build=$2 prefix=$3 has_app=$4
rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" >"$prefix.log" 2>&1 || { cat "$prefix.log"; exit 1; }
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
id=org.orvella.Orvella

programs="orvellactl"
[ "$has_app" = 1 ] && programs="orvella orvellactl"
for program in $programs; do
    [ -x "$prefix/bin/$program" ] || fail "bin/$program is missing"
    [ -f "$prefix/share/man/man1/$program.1.gz" ] || fail "the man page of $program is missing"
done
desktop=$prefix/share/applications/$id.desktop
[ -f "$desktop" ] || fail "the desktop entry is missing"
[ -f "$prefix/share/metainfo/$id.metainfo.xml" ] || fail "the metainfo is missing"
# Device access is the system's own (udev and logind): a rule of ours would only widen it.
[ ! -e "$prefix/lib/udev" ] || fail "lib/udev is installed: the package brings no udev rules"
[ -f "$prefix/lib/systemd/user/orvella-restore.service" ] || fail "the systemd user unit is missing"
[ -f "$prefix/share/doc/orvella/copyright" ] || fail "the copyright file is missing"

# The entry's icon resolves in the hicolor theme, as SVG and at the usual PNG sizes, and each
# PNG has the size of its folder.
icon=$(sed -n 's/^Icon=//p' "$desktop")
[ "$icon" = "$id" ] || fail "the desktop entry names icon '$icon'"
[ -f "$prefix/share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "no scalable icon"
# The tray's black-and-white icon, by the name the program gives StatusNotifier hosts.
[ -f "$prefix/share/icons/hicolor/symbolic/apps/orvella-symbolic.svg" ] || fail "no symbolic tray icon"
grep -q currentColor "$prefix/share/icons/hicolor/symbolic/apps/orvella-symbolic.svg" 2>/dev/null &&
    fail "the symbolic tray icon has no colour of its own"
for size in 16 22 24 32 48 64 128 256 512; do
    png=$prefix/share/icons/hicolor/${size}x$size/apps/$icon.png
    if [ ! -f "$png" ]; then fail "no ${size}px icon"; continue; fi
    # PNG header: width and height are big-endian words at bytes 16 and 20.
    dims=$(od -An -tu1 -j16 -N8 "$png" | tr -s ' ' | sed 's/^ //')
    set -- $dims
    [ $(( ($3 << 8) | $4 )) -eq "$size" ] && [ $(( ($7 << 8) | $8 )) -eq "$size" ] ||
        fail "$png is not ${size}x$size"
done

# The program the entry starts is installed, once the application is part of the build.
exec_name=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$desktop")
if [ "$has_app" = 1 ]; then
    [ -x "$prefix/bin/$exec_name" ] || fail "the desktop entry starts '$exec_name', which is not installed"
fi
# The user unit runs orvellactl from where the package puts it.
grep -q '^ExecStart=/.*/orvellactl apply-last --all$' "$prefix/lib/systemd/user/orvella-restore.service" ||
    fail "the user unit does not run orvellactl apply-last --all"

# Compiled translations, one per Linguist table, where the application looks for them.
tables=$(ls "$source/ui/translations" 2>/dev/null | grep -c '^orvella_.*\.ts$')
qms=$(ls "$prefix/share/orvella/translations" 2>/dev/null | grep -c '\.qm$')
[ "$qms" -ge "${tables:-0}" ] || fail "$qms .qm files installed for ${tables} tables"
[ "$failures" -eq 0 ]
