# Enumeration and identity: the kernel enumerates a virtual camera served over USB/IP, uvcvideo
# binds it, and orvellactl on the Linux backend reports what the definition says.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/logitech-c270.json || finish

device=/sys/bus/usb/devices/1-1
expect "sysfs idVendor" "$(cat $device/idVendor)" 046d
expect "sysfs idProduct" "$(cat $device/idProduct)" 0825
expect "sysfs product string" "$(cat $device/product)" "C270 HD WEBCAM"
expect "uvcvideo holds the VideoControl interface" "$(basename "$(readlink $device/1-1:1.0/driver)")" uvcvideo
expect "capture node name" "$(cat /sys/class/video4linux/video0/name)" "C270 HD WEBCAM"
# The sysfs descriptors are the bytes the device sent: its device and whole configuration.
sent_device=$(awk '$2 == "80" && $3 == "06" && $4 == "0100" && $6 == 18 { print $7; exit }' $LOG)
sent_config=$(awk '$2 == "80" && $3 == "06" && $4 == "0200" && $6 > 9 { print $7; exit }' $LOG)
expect "sysfs descriptors are the device's" "$(xxd -p $device/descriptors | tr -d '\n')" "$sent_device$sent_config"

# Bus 1 port 1 is location 0x01100000, whatever locationID the definition gives (0x1a200000).
expect "orvellactl list" "$(orvellactl list)" \
    "$(printf '1\tC270 HD WEBCAM\t0x01100000046d0825\tUVC Camera VendorID_1133 ProductID_2085')"
# Everything else show --json says is what the virtual backend says of the same definition.
orvellactl --virtual $CAMERAS/logitech-c270.json show --json |
    sed -e 's/0x1a200000046d0825/0x01100000046d0825/' -e "s/\"locationID\": $((0x1a200000))/\"locationID\": $((0x01100000))/" \
        > /tmp/virtual.json
orvellactl show --json > /tmp/kernel.json
check "show --json matches the virtual backend's" diff /tmp/virtual.json /tmp/kernel.json
expect "show --json names the camera by the sysfs location" \
    "$(grep -E '"(uniqueID|locationID|vendorID|productID|displayName)"' /tmp/kernel.json | sed -e 's/^ *//' -e 's/,$//')" \
    "$(printf '"displayName": "C270 HD WEBCAM"\n"locationID": 17825792\n"productID": 2085\n"uniqueID": "0x01100000046d0825"\n"vendorID": 1133')"
finish
