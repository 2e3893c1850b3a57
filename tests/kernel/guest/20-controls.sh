# Every control of the core's table through the Linux backend's translation, on a camera whose
# camera terminal and processing unit declare every control: the backend's answers are the
# device's values, and the SET_CUR the device sees carries exactly the value written.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/full-pu.json || finish

# control NAME UNIT SELECTOR LENGTH "DEF MIN MAX RES CUR" DATA [SEEN]
# The backend's GET_DEF/MIN/MAX/RES/CUR answers (a "-" for a request the control has no
# answer to), then SET_CUR of DATA: the device sees SEEN (default DATA) and GET_CUR reads it.
control() {
    name=$1 u=$2 s=$3 l=$4 answers=$5 data=$6 seen=${7:-$6}
    mark
    out=$(uvcreq $u $s get_def $l , $u $s get_min $l , $u $s get_max $l , $u $s get_res $l , \
        $u $s get_cur $l , $u $s set_cur $l $data , $u $s get_cur $l)
    expect "$name: ranges and value" "$(echo "$out" | head -n 5 | awk '{ print ($1 == "00000000" ? $2 : "-") }' | xargs)" "$answers"
    expect "$name: the device sees the SET_CUR" "$(set_cur 1 $u $s)" "$seen ok"
    expect "$name: GET_CUR reads the new value" "$(echo "$out" | sed -n 7p)" "00000000 $seen"
}

#        name                 unit sel len  def min max res cur                                    data
control AutoExposureMode        1  2  1 "08 - - 0f 08"                                               01
control AutoExposurePriority    1  3  1 "00 00 01 01 00"                                             01
control ExposureTimeAbsolute    1  4  4 "fa000000 03000000 ff070000 01000000 fa000000"               2c010000
control FocusAuto               1  8  1 "01 00 01 01 01"                                             00
control FocusAbsolute           1  6  2 "0000 0000 fa00 0500 0000"                                   0a00
control ZoomAbsolute            1 11  2 "6400 6400 f401 0100 6400"                                   c800
control PanTiltAbsolute         1 13  8 "0000000000000000 6073ffff6073ffff a08c0000a08c0000 100e0000100e0000 0000000000000000" 201c0000e0e3ffff
control BacklightCompensation   2  1  2 "0100 0000 0200 0100 0100"                                   0200
control Brightness              2  2  2 "0000 c0ff 4000 0100 0000"                                   f6ff
control Contrast                2  3  2 "2000 0000 5f00 0100 2000"                                   0a00
control Gain                    2  4  2 "0000 0000 6400 0100 0000"                                   0a00
control PowerLineFrequency      2  5  1 "03 00 02 01 01"                                             02
control Saturation              2  7  2 "4000 0000 6400 0100 4000"                                   0a00
control Sharpness               2  8  2 "0300 0000 0700 0100 0300"                                   0200
control Gamma                   2  9  2 "6400 6400 f401 0100 6400"                                   c800
control Hue                     2  6  2 "0000 30f8 d007 0100 0000"                                   0a00
control WhiteBalanceTemperatureAuto 2 11 1 "01 00 01 01 01"                                          00
control WhiteBalanceTemperature 2 10  2 "f811 f00a 6419 0a00 f811"                                   b80b
# Out of range: uvcvideo clamps before the device sees it.
control Brightness              2  2  2 "0000 c0ff 4000 0100 f6ff"                                   e803 4000

# Controls the driver cannot reach: nothing goes on the wire.
mark
expect "DigitalMultiplier is out of reach" "$(uvcreq 2 14 get_cur 2 , 2 14 set_cur 2 c800 | xargs)" "e000404f - e000404f -"
expect "WhiteBalanceComponentAuto is shadowed by WhiteBalanceTemperatureAuto" "$(uvcreq 2 13 get_cur 1 | xargs)" "e000404f -"
expect "nothing reached the device" "$(since | grep -v unlink)" ""
# Relative moves uvcvideo would turn into a stop are refused before they reach the device.
mark
expect "IrisRelative open is refused" "$(uvcreq 1 10 set_cur 1 01)" "e000404f -"
expect "IrisRelative: nothing on the wire" "$(set_cur 1 1 10)" ""

# The same through orvellactl's accessors: set, and the value read back.
# ctlset KEY VALUE PRINTED UNIT SELECTOR SEEN
ctlset() {
    mark
    expect "orvellactl set $1 $2" "$(orvellactl set 1 $1 $2 2>&1)" "$1 = $3"
    expect "orvellactl set $1 $2: the device sees" "$(set_cur 1 $4 $5)" "$6 ok"
}
ctlset AutoExposureMode 1 1 1 2 01
ctlset ExposureTimeAbsolute 500 500 1 4 f4010000
ctlset FocusAuto 0 0 1 8 00
ctlset FocusAbsolute 25 25 1 6 1900
ctlset ZoomAbsolute 300 300 1 11 2c01
# Pan and tilt are written in resolution steps (3600 arc-seconds), the other axis keeping its
# current value (tilt -7200 from above), and read back in arc-seconds.
ctlset PanAbsolute 3 3 1 13 302a0000e0e3ffff
ctlset TiltAbsolute -1 -1 1 13 302a0000f0f1ffff
ctlset BacklightCompensation 1 1 2 1 0100
ctlset Brightness -20 -20 2 2 ecff
ctlset Contrast 40 40 2 3 2800
ctlset Gain 50 50 2 4 3200
ctlset PowerLineFrequency 1 1 2 5 01
ctlset Saturation 30 30 2 7 1e00
ctlset Sharpness 6 6 2 8 0600
ctlset Gamma 150 150 2 9 9600
ctlset Hue -5 -5 2 6 fbff
ctlset WhiteBalanceTemperatureAuto 1 1 2 11 01
ctlset WhiteBalanceTemperatureAuto 0 0 2 11 00
ctlset WhiteBalanceTemperature 5000 5000 2 10 8813
# Reading goes through the driver's cache: what was written comes back.
expect "orvellactl get Gain" "$(orvellactl get 1 Gain)" 50
expect "orvellactl get PanAbsolute" "$(orvellactl get 1 PanAbsolute)" 10800
finish
