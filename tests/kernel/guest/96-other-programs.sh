# Another program in the guest opens the camera and sets brightness through the real uvcvideo
# driver while the application runs offscreen: without the guard the application follows the
# change (the driver's control event reaches it) and sends nothing back; with the guard on it
# puts the last state back once, a settle time later.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish
export XDG_CONFIG_HOME=/tmp/guard-config QT_QPA_PLATFORM=offscreen
PLIST=$XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist
rm -rf "$XDG_CONFIG_HOME"
mkdir -p "$XDG_CONFIG_HOME"

check "orvellactl sets brightness 21" orvellactl set 1 Brightness 21
check "orvellactl records the model's last state" orvellactl apply-last 1

stop_app() {
    kill -TERM $APP 2>/dev/null
    wait $APP
    if [ $FAILURES -gt 0 ]; then
        echo "orvella said:"
        grep -v 'min(\|FormatCode' /tmp/orvella.out | sed 's/^/    /'
        echo "the camera's writes since the mark:"
        since | grep '^1 21 ' | sed 's/^/    /'
    fi
}

# Without the guard: followed, nothing sent back.
check "the application starts" start_app
check "another program sets brightness 33" orvellactl set 1 Brightness 33
check "the application hears of it from the driver" \
    wait_line "Brightness of .* was changed by another program" 10
sleep 3
expect "with the guard off only the other program's write reached the camera" \
    "$(set_cur 1 2 2)" "2100 ok"
stop_app

# With the guard on: the last state comes back, once.
# The panel's preview is switched off: the idle measurement below is of the guard's watch, not
# of a stream (98-preview-yields.sh covers the preview).
awk '!done && /<dict>/ { print; print "<key>GuardSettings</key><true/>"; print "<key>Show preview</key><false/>"; done = 1; next } { print }' \
    "$PLIST" > "$PLIST.new" && mv "$PLIST.new" "$PLIST"
check "the application starts with the guard on" start_app
check "the guard is on" wait_line "Settings guard on" 1
check "another program sets brightness -7" orvellactl set 1 Brightness -7
wait_brightness 1500
expect "the guard sent the last state's brightness after the other program's" \
    "$(set_cur 1 2 2 | tr '\n' ' ')" "f9ff ok 1500 ok "
check "the guard said why" wait_line "Settings guard: restoring the last state" 1
sleep 3
expect "and only once" "$(set_cur 1 2 2 | grep -c '^1500')" "1"
expect "the driver holds the last state's brightness" "$(orvellactl get 1 Brightness)" "21"

# Watching the node for events and opens must not keep the application busy: idle for 3 s it
# uses well under a second of CPU (a watch that spins would use all three).
cpu() { awk '{ print $14 + $15 }' /proc/$APP/stat; }
before=$(cpu)
sleep 3
used=$(($(cpu) - before))
expect "idle with the guard on, the application uses under 0.5 s of CPU in 3 s" \
    "$([ $used -lt 50 ] && echo yes || echo "no: $used ticks")" "yes"
stop_app
finish
