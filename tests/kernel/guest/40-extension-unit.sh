# Extension units: requests pass through UVCIOC_CTRL_QUERY and reach the camera unchanged.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/logitech-c270.json || finish

# The C270's LED: LED type 2, unit 7 selector 9, 5 bytes (mode in byte 1, rate 10 in byte 4).
mark
expect "orvellactl set LEDIndex 1" "$(orvellactl set 1 LEDIndex 1)" "LEDIndex = 1"
expect "uvcvideo learns the length first" "$(wire 1 0xa1 0x85 7 9)" "0500 ok"
expect "and the capabilities" "$(wire 1 0xa1 0x86 7 9)" "03 ok"
expect "the camera sees the LED request" "$(set_cur 1 7 9)" "010101000a ok"
mark
expect "orvellactl set LEDIndex 2" "$(orvellactl set 1 LEDIndex 2)" "LEDIndex = 2"
expect "the camera sees LED off" "$(set_cur 1 7 9)" "010001000a ok"

# Raw requests: any bytes, both ways, every time (uvcvideo keeps no cache for them).
mark
expect "raw SET_CUR and GET_CUR" "$(uvcreq 7 9 set_cur 5 deadbeef42 , 7 9 get_cur 5 , 7 9 get_cur 5 | xargs)" \
    "00000000 - 00000000 deadbeef42 00000000 deadbeef42"
expect "the camera sees the bytes" "$(set_cur 1 7 9)" "deadbeef42 ok"
expect "each GET_CUR reaches the camera" "$(wire 1 0xa1 0x81 7 9 | xargs)" "deadbeef42 ok deadbeef42 ok"
mark
expect "GET_LEN is forwarded" "$(uvcreq 7 9 get_len 2)" "00000000 0500"
expect "the camera answered it" "$(wire 1 0xa1 0x85 7 9)" "0500 ok"

# What the driver refuses before the camera: wrong length, undeclared selector, a unit that is
# not an extension unit. A declared selector the camera lacks stalls at the camera.
mark
expect "wrong length" "$(uvcreq 7 9 get_cur 4)" "e000404f -"
expect "selector outside bmControls" "$(uvcreq 7 17 get_cur 1)" "e000404f -"
expect "the output terminal" "$(uvcreq 3 1 get_cur 1)" "e000404f -"
expect "none of them reached the camera" "$(since | grep -v unlink)" ""
mark
expect "a selector the camera lacks" "$(uvcreq 7 1 get_cur 1)" "e000404f -"
expect "the camera stalled its GET_LEN" "$(wire 1 0xa1 0x85 7 1)" "- stall"
stop_cameras

# The other extension-unit controls of the core: the motor focus of an extension-unit focus
# camera (unit 9 selector 3, 2 bytes) and its neighbours, and an LED of type 1 (unit 13
# selector 1, 3 bytes).
start_cameras $CAMERAS/xu-focus.json $CAMERAS/led-type1.json || finish
mark
expect "orvellactl set FocusAbsolute on the focus motor" "$(orvellactl set 1 FocusAbsolute 100)" "FocusAbsolute = 100"
expect "the camera sees unit 9 selector 3" "$(set_cur 1 9 3)" "6400 ok"
expect "raw requests on selectors 1 and 2" "$(uvcreq 9 1 set_cur 4 01020304 , 9 2 set_cur 1 01 | xargs)" "00000000 - 00000000 -"
expect "the camera sees selector 1" "$(set_cur 1 9 1)" "01020304 ok"
expect "the camera sees selector 2" "$(set_cur 1 9 2)" "01 ok"
expect "orvellactl set LEDIndex on the type 1 camera" "$(orvellactl set 2 LEDIndex 1)" "LEDIndex = 1"
expect "the camera sees unit 13 selector 1" "$(set_cur 2 13 1)" "010000 ok"
finish
