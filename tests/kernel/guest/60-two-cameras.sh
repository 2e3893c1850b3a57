# Two cameras at once, on two ports: each is listed, addressed and written separately.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/logitech-c270.json $CAMERAS/generic.json || finish

expect "orvellactl list" "$(orvellactl list)" "$(printf '%s\n%s' \
    "$(printf '1\tC270 HD WEBCAM\t0x01100000046d0825\tUVC Camera VendorID_1133 ProductID_2085')" \
    "$(printf '2\tOrvella Virtual Camera\t0x012000001d6b0102\tUVC Camera VendorID_7531 ProductID_258')")"
orvellactl --virtual $CAMERAS/generic.json show --json |
    sed -e 's/0x141000001d6b0102/0x012000001d6b0102/' -e "s/\"locationID\": $((0x14100000))/\"locationID\": $((0x01200000))/" \
        > /tmp/virtual.json
orvellactl show 2 --json > /tmp/kernel.json
check "the second camera's show --json matches the virtual backend's" diff /tmp/virtual.json /tmp/kernel.json

mark
expect "set Brightness on camera 2" "$(orvellactl set 2 Brightness 5)" "Brightness = 5"
expect "camera 2 sees it" "$(set_cur 2 2 2)" "0500 ok"
expect "camera 1 does not" "$(set_cur 1 2 2)" ""
mark
expect "set Brightness on camera 1, by name" "$(orvellactl set c270 Brightness 200)" "Brightness = 200"
expect "camera 1 sees it" "$(set_cur 1 2 2)" "c800 ok"
expect "camera 2 does not" "$(set_cur 2 2 2)" ""
expect "each keeps its own value" "$(orvellactl get 1 Brightness) $(orvellactl get 2 Brightness)" "200 5"
expect "naming none of two is a usage error" "$(orvellactl get Brightness 2>/dev/null; echo $?)" 2
finish
