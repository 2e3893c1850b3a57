# The application's panel preview on the real uvcvideo: offscreen and without a tray host the
# panel stands alone, so the preview streams from the camera. A second program that opens the
# capture node to stream gets the camera: the application lets go of it (and says so), the
# program takes its frames, and once it has closed the node the preview streams again.
#
# V4L2 streaming is exclusive and the application only hears of the open once it has happened,
# so a program that asks for buffers in the same instant as it opens can still find the camera
# busy. The application then waits 3 s after that program's close before it takes the camera
# again, so a second try finds it free: the second program tries for a few seconds, as a call
# program retries, and the test says how many tries it took (1 or 2 expected).
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish
export XDG_CONFIG_HOME=/tmp/preview-config QT_QPA_PLATFORM=offscreen
rm -rf "$XDG_CONFIG_HOME"
mkdir -p "$XDG_CONFIG_HOME"

lines() { wc -l < /tmp/orvella.out; }

rm -f /tmp/orvella.out
orvella > /tmp/orvella.out 2>&1 &
APP=$!
check "the application starts" wait_line "orvella\[$APP\] Ready:" 60
check "its panel's preview streams from the camera" wait_line "Preview of .* is streaming" 30
sleep 1

# The second program: streams 10 frames, trying up to 30 times 0.1 s apart while it finds the
# camera busy.
FROM=$(lines)
tries=0
while [ $tries -lt 30 ]; do
    tries=$((tries + 1))
    uvcreq --stream YUYV 640x480 10 > /tmp/second.txt 2>&1
    grep -q '^open failed: 0xe00002c5' /tmp/second.txt || break
    sleep 0.1
done
echo "# the second program got the camera at try $tries"
expect "the second program streamed its frames" "$(tail -n 1 /tmp/second.txt)" "streamed 10"
expect "and took whole ones" \
    "$([ "$(grep -c '^frame [0-9]* YUYV 640x480 614400 ok$' /tmp/second.txt)" -ge 3 ] && echo yes)" yes
check "the application logged that it yielded" \
    wait_line "Preview of .*: another program opened the camera; the preview yielded it" 1 "$FROM"
check "and streams again once the program is done" \
    wait_line "Preview of .* is streaming" 15 "$FROM"
expect "the application is still running" "$(kill -0 $APP 2>/dev/null && echo yes)" "yes"

kill -TERM $APP 2>/dev/null
wait $APP
expect "asked to stop, it exits with status 0" "$?" "0"
if [ $FAILURES -gt 0 ]; then
    echo "orvella said:"
    grep -v 'min(\|FormatCode' /tmp/orvella.out | sed 's/^/    /' | tail -n 60
fi
finish
