# The controls beyond the system's own, through the real driver: a standard control uvcvideo
# maps (privacy, through V4L2), one it does not map (roll: it stalls in the driver and is left
# out), and an extension-unit control the data file knows (Logitech's LED frequency, unit 4
# selector 1, 3 bytes, through UVCIOC_CTRL_QUERY), and an unknown unit that is never written.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/logitech-extension-units.json || finish

mark
expect "orvellactl set Privacy 1" "$(orvellactl set 1 Privacy 1)" "Privacy = 1"
expect "the camera sees privacy on" "$(set_cur 1 1 0x11)" "01 ok"
expect "orvellactl get Privacy" "$(orvellactl get 1 Privacy)" "1"

mark
expect "roll is declared but left out" "$(orvellactl show 1 | grep -c RollAbsolute)" "0"
expect "no roll request reached the camera" "$(wire 1 0xa1 0x86 1 0x0f)" ""
expect "a raw request for it stalls too (UVCIOC_CTRL_QUERY takes extension units only)" \
    "$(uvcreq 1 15 get_cur 2)" "e000404f -"
expect "and never reaches the camera" "$(wire 1 0xa1 0x81 1 0x0f)" ""
expect "the LED frequency is listed" "$(orvellactl show 1 | grep -c 'logitech.led1.frequency')" "1"

mark
expect "orvellactl set the LED frequency" "$(orvellactl set 1 logitech.led1.frequency 40)" \
    "logitech.led1.frequency = 40"
expect "the camera sees the whole control, the mode byte kept" "$(set_cur 1 4 1)" "030028 ok"
expect "orvellactl get the LED frequency" "$(orvellactl get 1 logitech.led1.frequency)" "40"

mark
expect "an unknown unit is refused" "$(orvellactl set 1 xu.12.1 5 2>&1)" \
    "orvellactl: xu.12.1 is read-only (unknown extension unit)"
expect "nothing reached it" "$(set_cur 1 12 1)" ""
finish
