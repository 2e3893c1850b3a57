#!/bin/sh
# check-translated-entries.sh TOOL PACKAGING_DIR TS_DIR WORK
# Fills the desktop entry and the metainfo from the Linguist tables in TS_DIR and checks the
# localized keys and the validators' verdicts.
set -u
tool=$1 src=$2 ts=$3 work=$4
mkdir -p "$work"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

"$tool" --in "$src/org.orvella.Orvella.desktop.in" --out "$work/org.orvella.Orvella.desktop" \
    --default CFBundleName=Orvella --default "GenericName=Webcam Settings" \
    --default "Comment=Adjust and keep the image controls of USB webcams" "$ts"/*.ts || fail "desktop entry not generated"
"$tool" --in "$src/org.orvella.Orvella.metainfo.xml.in" --out "$work/org.orvella.Orvella.metainfo.xml" \
    --default CFBundleName=Orvella --default "GenericName=Webcam Settings" \
    --default "Comment=Adjust and keep the image controls of USB webcams" \
    --default VERSION=1.0 --default RELEASE_DATE=2026-01-01 --default HOMEPAGE=https://example.org \
    --default BUGTRACKER=https://example.org/issues --default SCREENSHOT_BASE=https://example.org \
    "$ts"/*.ts || fail "metainfo not generated"

desktop=$work/org.orvella.Orvella.desktop
metainfo=$work/org.orvella.Orvella.metainfo.xml
for line in 'Name[de]=Orvella' 'GenericName=Webcam Controls' 'GenericName[de]=Webcam-Einstellungen' \
            'GenericName[fr]=Réglages & webcam' \
            'Comment[pt_BR]=Ajustar e manter os controles de imagem de webcams USB'; do
    grep -qxF "$line" "$desktop" || fail "missing in the desktop entry: $line"
done
# Unfinished and obsolete translations stay out; so does the "en" table as a locale.
for key in 'Comment[fr]=' 'GenericName[pt_BR]=' 'Name[en]='; do
    ! grep -qF "$key" "$desktop" || fail "unexpected in the desktop entry: $key"
done
grep -qF '<summary xml:lang="de">Bildregler von USB-Webcams einstellen und behalten</summary>' "$metainfo" ||
    fail "missing in the metainfo: the German summary"

out=$(desktop-file-validate --no-hints "$desktop" 2>&1)
[ $? -eq 0 ] && [ -z "$out" ] || fail "desktop-file-validate: $out"
appstreamcli validate --no-net "$metainfo" >"$work/appstream.log" 2>&1 || { cat "$work/appstream.log"; fail "appstreamcli validate"; }
[ "$failures" -eq 0 ]
