# Automatic modes: a manual control that its automatic mode governs is inactive in the driver,
# writing it fails before anything reaches the camera (EACCES on Debian's 6.1 kernel), and it
# works again once the automatic mode is off. A stall for "wrong state" from the camera itself
# comes back as EILSEQ.
. /orvella/tests/lib.sh
WB_TEMPERATURE=0x0098091A
EXPOSURE=0x009A0902
BRIGHTNESS=0x00980900
INACTIVE=0x10
start_cameras $CAMERAS/logitech-c270.json || finish

flags() { uvcreq --v4l2 query "$1" | awk '{ print $6 }'; }
expect "white balance temperature is inactive under automatic white balance" "$(flags $WB_TEMPERATURE)" $INACTIVE
expect "the backend reports it as GET_INFO bit 2" "$(uvcreq 2 10 get_info 1)" "00000000 07"
mark
expect "writing it: EACCES from the driver" "$(uvcreq --v4l2 set $WB_TEMPERATURE 3000)" "error EACCES"
orvellactl set 1 WhiteBalanceTemperature 3000 > /tmp/out 2>&1
expect "orvellactl: exit status 1" $? 1
check "orvellactl: names the automatic mode" grep -q "WhiteBalanceTemperature is governed by WhiteBalanceTemperatureAuto (on); set WhiteBalanceTemperatureAuto to 0 first" /tmp/out
expect "no SET_CUR reached the camera" "$(set_cur 1 2 10)" ""

mark
expect "automatic white balance off" "$(orvellactl set 1 WhiteBalanceTemperatureAuto 0)" "WhiteBalanceTemperatureAuto = 0"
expect "the camera sees it" "$(set_cur 1 2 11)" "00 ok"
expect "white balance temperature is active" "$(flags $WB_TEMPERATURE)" 0x0
expect "orvellactl sets it" "$(orvellactl set 1 WhiteBalanceTemperature 3000)" "WhiteBalanceTemperature = 3000"
expect "the camera sees it" "$(set_cur 1 2 10)" "b80b ok"

# Exposure time under aperture priority (the camera's current mode).
expect "exposure time is inactive under aperture priority" "$(flags $EXPOSURE)" $INACTIVE
mark
expect "writing it: EACCES" "$(uvcreq --v4l2 set $EXPOSURE 300)" "error EACCES"
expect "no SET_CUR reached the camera" "$(set_cur 1 1 4)" ""
expect "manual exposure" "$(orvellactl set 1 AutoExposureMode 1)" "AutoExposureMode = 1"
expect "the camera sees mode 1" "$(set_cur 1 1 2)" "01 ok"
expect "orvellactl sets the exposure time" "$(orvellactl set 1 ExposureTimeAbsolute 300)" "ExposureTimeAbsolute = 300"
expect "the camera sees it" "$(set_cur 1 1 4)" "2c010000 ok"
expect "back to aperture priority" "$(orvellactl set 1 AutoExposureMode 8)" "AutoExposureMode = 8"
expect "a mode the camera does not offer is refused by the driver" "$(uvcreq --v4l2 set 0x009A0901 2)" "error EINVAL"

# The camera's own "wrong state" stall (request error code 2): uvcvideo asks for the code.
ctl stall 1 2 2 2
mark
expect "a wrong-state stall: EILSEQ" "$(uvcreq --v4l2 set $BRIGHTNESS 5)" "error EILSEQ"
expect "the camera saw the SET_CUR" "$(set_cur 1 2 2)" "0500 stall"
expect "uvcvideo read the request error code" "$(wire 1 0xa1 0x81 0 2)" "02 ok"
expect "orvellactl: refused" "$(orvellactl set 1 Brightness 5 2>&1)" \
    "orvellactl: writing Brightness = 5 failed: status 0xe000404f, the camera refused the request"
ctl clear 1
# The other codes, as the 6.1 driver translates them.
for pair in 1:EBUSY 4:ERANGE 5:EIO 6:EIO 7:EIO 8:EINVAL 255:EPIPE; do
    ctl stall 1 2 3 ${pair%%:*}
    expect "request error code ${pair%%:*}" "$(uvcreq --v4l2 set 0x00980901 7)" "error ${pair##*:}"
    ctl clear 1
done
stop_cameras

# Shutter priority: UVC lets the host set the exposure time, uvcvideo treats only manual as manual.
start_cameras $CAMERAS/full-pu.json || finish
expect "shutter priority" "$(orvellactl set 1 AutoExposureMode 4)" "AutoExposureMode = 4"
mark
expect "exposure time is inactive all the same" "$(flags $EXPOSURE)" $INACTIVE
expect "writing it: EACCES" "$(uvcreq --v4l2 set $EXPOSURE 300)" "error EACCES"
expect "no SET_CUR reached the camera" "$(set_cur 1 1 4)" ""
finish
