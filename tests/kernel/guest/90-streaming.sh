# Streaming: the capture backend's memory-mapped stream takes frames from a virtual camera through
# uvcvideo, its isochronous endpoint served over USB/IP; orvellactl takes a still image; a second
# stream finds the camera busy.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish

# at_least N COUNT: "yes" when COUNT >= N, else what was counted.
at_least() { if [ "$2" -ge "$1" ]; then echo yes; else echo "only $2"; fi; }

# Under emulation the guest can fall behind the isochronous schedule, and uvcvideo then hands over
# a frame with packets missing, as it does on a busy real machine; so six frames are taken and
# three of them must be whole.
uvcreq --stream YUYV 640x480 6 > /tmp/yuyv.txt 2>&1
expect "three whole YUYV frames of 640 x 480 x 2 bytes in six" \
    "$(at_least 3 "$(grep -c '^frame [0-9]* YUYV 640x480 614400 ok$' /tmp/yuyv.txt)")" yes
grep -q '^streamed 6$' /tmp/yuyv.txt || cat /tmp/yuyv.txt

uvcreq --stream MJPG 1280x720 6 > /tmp/mjpg.txt 2>&1
expect "three whole MJPEG frames of 1280 x 720 in six" \
    "$(at_least 3 "$(grep -c '^frame [0-9]* MJPG 1280x720 [0-9]* ok$' /tmp/mjpg.txt)")" yes
grep -q '^streamed 6$' /tmp/mjpg.txt || cat /tmp/mjpg.txt

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
