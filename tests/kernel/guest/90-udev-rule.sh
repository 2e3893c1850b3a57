# The package's udev rule (packaging/udev/) under Debian's udevd: uvcvideo's nodes and the USB
# device of a UVC camera get the uaccess tag, from which logind grants the user at the seat
# access; other devices do not.
. /orvella/tests/lib.sh
if ! command -v udevadm >/dev/null; then
    not_ok "udevadm is in the guest (the suite could not download Debian's udev package)"
    finish
fi
mkdir -p /run /etc/udev/rules.d /lib/systemd
mount -t tmpfs tmpfs /run
cp /orvella/udev/*.rules /etc/udev/rules.d/
ln -sf /orvella/bin/udevadm /lib/systemd/systemd-udevd
/lib/systemd/systemd-udevd --daemon > /tmp/udevd.out 2>&1
check "udevd starts" udevadm control --ping --timeout=10

start_cameras $CAMERAS/logitech-c270.json || finish
udevadm trigger --action=add > /dev/null 2>&1
udevadm settle --timeout=30

tags() { udevadm info --query=property "$@" 2>/dev/null | sed -n 's/^TAGS=//p'; }
has_uaccess() { case "$(tags "$@")" in *:uaccess:*) echo yes ;; *) echo no ;; esac; }
for node in /sys/class/video4linux/*; do
    expect "$(basename "$node") ($(cat "$node/name")) is tagged uaccess" "$(has_uaccess --path="$node")" yes
done
expect "the camera's USB device is tagged uaccess" "$(has_uaccess --path=/sys/bus/usb/devices/1-1)" yes
expect "the USB device shows a video control interface" \
    "$(udevadm info --query=property --path=/sys/bus/usb/devices/1-1 | grep -c '^ID_USB_INTERFACES=.*:0e0100:')" 1
# The host controller's root hub is no camera.
expect "the root hub is not tagged" "$(has_uaccess --path=/sys/bus/usb/devices/usb1)" no

udevadm control --exit > /dev/null 2>&1
finish
