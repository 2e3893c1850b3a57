# What Debian's uvcvideo does with a UVC 1.5 camera's corner cases, pinned down: the answers the
# Linux backend builds on (see also docs/virtual-cameras.md, "The kernel tests").
. /orvella/tests/lib.sh
PRIVACY=0x009A0910
PLF=0x00980918
GAIN=0x00980913
AUTO_WB=0x0098090C
ZOOM_CONTINUOUS=0x009A090F
start_cameras $CAMERAS/uvc15-quirks.json || finish

expect "UVC 1.5: the probe control is 48 bytes" \
    "$(awk '$2 == "a1" && $3 == "87" && $4 == "0100" && $5 == "0001" { print $6 }' $LOG)" 48
expect "UVC 1.5: power line frequency offers Auto (0..3)" "$(uvcreq --v4l2 query $PLF)" "ok 0 3 1 3 0x0"
mark
expect "and Auto can be set" "$(uvcreq --v4l2 set $PLF 3)" "ok 3"
expect "the camera sees it" "$(set_cur 1 2 5)" "03 ok"

# GET_INFO replaces the driver's static flags: a privacy switch that only reads is read-only.
expect "read-only privacy switch" "$(uvcreq --v4l2 query $PRIVACY | awk '{ print $6 }')" 0x4
mark
expect "writing it: EACCES" "$(uvcreq --v4l2 set $PRIVACY 0)" "error EACCES"
expect "nothing reached the camera" "$(set_cur 1 1 17)" ""
expect "the backend's GET_INFO says read-only" "$(uvcreq 1 17 get_info 1)" "00000000 01"

# A short answer is taken as a whole one, the missing byte zero: 300 (0x012c) reads as 44.
expect "gain answered 1 of 2 bytes" "$(uvcreq --v4l2 query $GAIN)" "ok 0 232 1 44 0x0"
expect "the backend passes it on" "$(uvcreq 2 4 get_cur 2)" "00000000 2c00"
# Through UVCIOC_CTRL_QUERY the short count comes back, and so does the backend's.
expect "extension unit answered 2 of 4 bytes" "$(uvcreq 4 1 get_cur 4)" "00000000 0102"

# Both automatic white balance controls map to one V4L2 control, which drives 0x0B only.
mark
expect "automatic white balance off" "$(uvcreq --v4l2 set $AUTO_WB 0)" "ok 0"
expect "white balance temperature auto (0x0B) sees it" "$(set_cur 1 2 11)" "00 ok"
expect "white balance component auto (0x0D) does not" "$(set_cur 1 2 13)" ""

# Cached values: a control without auto-update keeps what the driver last saw; one with it
# (GET_INFO bit 3, brightness here) is read again.
uvcreq 2 2 get_cur 2 , 2 3 get_cur 2 > /dev/null
ctl set 1 2 2 7
ctl set 1 2 3 9
expect "auto-update control reads the camera's new value" "$(uvcreq 2 2 get_cur 2)" "00000000 0700"
expect "other controls read the driver's cache" "$(uvcreq 2 3 get_cur 2)" "00000000 2000"

# Zoom continuous: the driver's range is the speed range (1..7), so zooming out is clamped
# into zooming in. The backend refuses it; the raw driver does it.
expect "zoom continuous range" "$(uvcreq --v4l2 query $ZOOM_CONTINUOUS)" "ok 1 7 1 1 0x0"
mark
expect "the backend refuses zoom out" "$(uvcreq 1 12 set_cur 3 ff0003)" "e000404f -"
expect "nothing reached the camera" "$(set_cur 1 1 12)" ""
expect "zoom in at speed 3" "$(uvcreq 1 12 set_cur 3 010003)" "00000000 -"
expect "the camera sees it" "$(set_cur 1 1 12)" "010003 ok"
mark
expect "V4L2 zoom -3 becomes +1" "$(uvcreq --v4l2 set $ZOOM_CONTINUOUS -3)" "ok 1"
expect "the camera zooms in" "$(set_cur 1 1 12)" "010001 ok"
finish
