# The application itself, offscreen, on a camera the real uvcvideo driver serves: at start it
# applies the model's last state from the preferences file to the camera it finds, and it stops
# cleanly when asked.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish
export XDG_CONFIG_HOME=/tmp/application-config QT_QPA_PLATFORM=offscreen
rm -rf "$XDG_CONFIG_HOME"
mkdir -p "$XDG_CONFIG_HOME"

# The last state, recorded from the camera by orvellactl into the preferences file; then the
# camera is moved away from it behind the application's back.
check "orvellactl sets brightness 21" orvellactl set 1 Brightness 21
check "orvellactl records the model's last state" orvellactl apply-last 1
expect "the last state holds brightness 21" \
    "$(orvellactl profile show 1 AppDefault | grep '^Brightness =')" "Brightness = 21"
check "the camera is moved to -7" orvellactl set 1 Brightness -7

mark
orvella > /tmp/orvella.out 2>&1 &
APP=$!
tries=0
while [ "$(set_cur 1 2 2 | tail -n 1)" != "1500 ok" ] && [ $tries -lt 300 ] && kill -0 $APP 2>/dev/null; do
    tries=$((tries + 1))
    sleep 0.1
done
expect "the application sent the last state's brightness to the camera" "$(set_cur 1 2 2 | tail -n 1)" "1500 ok"
expect "the driver holds it" "$(orvellactl get 1 Brightness)" "21"
expect "the application is still running" "$(kill -0 $APP 2>/dev/null && echo yes)" "yes"
kill -TERM $APP 2>/dev/null
wait $APP
expect "asked to stop, it exits with status 0" "$?" "0"
if [ $FAILURES -gt 0 ]; then
    echo "orvella said:"
    sed 's/^/    /' /tmp/orvella.out | tail -n 40
fi
finish
