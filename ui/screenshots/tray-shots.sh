#!/bin/sh
# The tray icon and the reminder popover of the running program on an XEmbed tray (trayer) of a
# dark and a light tint, without a compositor, for docs/screenshots:
#   xvfb-run -a -s "-screen 0 1366x768x24 -wr" ui/screenshots/tray-shots.sh build-test/app/orvella DIR
# writes DIR/tray-icon-dark.png, DIR/tray-icon-light.png (the tray's right end, three times
# enlarged) and DIR/popover-no-compositor.png (the popover after Esc closed the panel; -wr gives
# the screen a white background, on which black corners would show).
set -eu
app=$1 out=$2
mkdir -p "$out"
for look in dark:0x202020 light:0xeeeeee; do
    name=${look%%:*} tint=${look#*:}
    home=$(mktemp -d)
    trayer --edge top --align right --widthtype pixel --width 120 --height 28 --transparent true \
        --alpha 0 --tint "$tint" --SetDockType true >/dev/null 2>&1 &
    tray=$!
    sleep 1
    # No session bus: Qt's tray icon speaks XEmbed to trayer.
    env -u DBUS_SESSION_BUS_ADDRESS XDG_CONFIG_HOME="$home" XDG_RUNTIME_DIR="$home" \
        ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=xcb "$app" --demo >"$home/log" 2>&1 &
    program=$!
    sleep 4
    ffmpeg -loglevel error -y -f x11grab -video_size 1366x768 -i "$DISPLAY" -frames:v 1 \
        -vf "crop=120:28:1246:0,scale=360:84:flags=neighbor" "$out/tray-icon-$name.png"
    if [ "$name" = dark ]; then
        # Esc closes the panel; the reminder opens under the icon.
        xdotool search --name "Orvella" key --window %@ Escape 2>/dev/null || true
        sleep 1.5
        ffmpeg -loglevel error -y -f x11grab -video_size 1366x768 -i "$DISPLAY" -frames:v 1 \
            -vf "crop=520:220:846:0" "$out/popover-no-compositor.png"
    fi
    grep "tray icon is drawn" "$home/log" || true
    kill "$program" "$tray" 2>/dev/null || true
    wait "$program" 2>/dev/null || true
    rm -rf "$home"
done
