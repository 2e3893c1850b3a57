# Formats: what uvcvideo makes of the streaming descriptors matches what the core reads from
# them, and a format change runs the probe negotiation with the camera.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/full-pu.json || finish

uvcreq --formats > /tmp/v4l2.txt
expect "uvcvideo's formats" "$(cat /tmp/v4l2.txt)" "YUYV 640x480 1/30 1/15 1/10
YUYV 320x240 1/30
YUYV 160x120 1/30 1/15
MJPG 1280x720 1/30 1/15
MJPG 1920x1080 1/30 1/15
MJPG 800x600 1/30..1/5+1/30
NV12 640x480 1/30"
# The core's list ("0x101 YUY2 640x480  30 15 10 fps") and the driver's, as size and rates.
orvellactl show | sed -n '/^formats:/,$p' | awk 'NR > 1 { $1 = $2 = ""; sub(/ fps$/, ""); print }' | awk '{ $1 = $1; print }' > /tmp/core.txt
awk '{ line = $2; for (i = 3; i <= NF; ++i) { if ($i ~ /\.\./) { line = line " -"; break }
       split($i, f, "/"); line = line " " sprintf("%g", f[2] / f[1]) } print line }' /tmp/v4l2.txt > /tmp/driver.txt
check "the core reads the same sizes and rates" diff /tmp/core.txt /tmp/driver.txt

# VIDIOC_S_FMT: the driver proposes format 1 frame 2 on the probe control and takes the frame
# size the camera answers.
mark
expect "YUYV 320x240" "$(uvcreq --set-format YUYV 320x240)" "YUYV 320x240 153600"
probe=$(since | awk '$2 == "a1" && $3 == "81" && $4 == "0100" && $5 == "0001" { print $7 }' | tail -n 1)
expect "the camera settled on format 1, frame 2" "$(echo $probe | cut -c 5-8)" 0102
expect "with 320 x 240 x 2 bytes a frame" "$(echo $probe | cut -c 37-44)" 00580200
mark
expect "a size the camera lacks gets the nearest" "$(uvcreq --set-format MJPG 1024x768)" "MJPG 1280x720 1843200"
finish
