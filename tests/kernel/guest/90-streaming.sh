# Streaming: the capture backend's memory-mapped stream takes frames from a virtual camera through
# uvcvideo, its isochronous endpoint served over USB/IP; orvellactl takes a still image; a second
# stream finds the camera busy.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish

uvcreq --stream YUYV 640x480 3 > /tmp/yuyv.txt 2>&1
expect "three YUYV frames of 640 x 480 x 2 bytes" \
    "$(grep -c '^frame [0-9]* YUYV 640x480 614400 ok$' /tmp/yuyv.txt)" 3
grep -q '^streamed 3$' /tmp/yuyv.txt || cat /tmp/yuyv.txt

uvcreq --stream MJPG 1280x720 3 > /tmp/mjpg.txt 2>&1
expect "three whole MJPEG frames of 1280 x 720" \
    "$(grep -c '^frame [0-9]* MJPG 1280x720 [0-9]* ok$' /tmp/mjpg.txt)" 3
grep -q '^streamed 3$' /tmp/mjpg.txt || cat /tmp/mjpg.txt

# The whole capture path: orvellactl's still image of the camera's picture, as PNG.
check "orvellactl snapshot through uvcvideo" orvellactl snapshot /tmp/still.png --format 1280x720
expect "a PNG image" "$(head -c 4 /tmp/still.png 2>/dev/null | tail -c 3)" "PNG"

# While one stream runs, a second one is refused with "busy" (kIOReturnExclusiveAccess).
uvcreq --stream YUYV 640x480 60 > /tmp/first.txt 2>&1 &
FIRST=$!
tries=0
while ! grep -q '^frame ' /tmp/first.txt 2>/dev/null && [ $tries -lt 100 ]; do sleep 0.1; tries=$((tries + 1)); done
uvcreq --stream YUYV 640x480 1 > /tmp/second.txt 2>&1
expect "a second stream finds the camera busy" "$(cut -d' ' -f1-3 /tmp/second.txt)" \
    "open failed: 0xe00002c5"
wait $FIRST
expect "the first stream went on" "$(tail -n 1 /tmp/first.txt)" "streamed 60"
finish
