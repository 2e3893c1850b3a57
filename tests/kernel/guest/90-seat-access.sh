# What the user at the seat may open without the video group, under Debian's udevd and Debian's
# own rules (the package brings none): uvcvideo's nodes carry the uaccess tag, from which logind
# grants that user access; the camera's USB device does not, and only root may write to its
# usbfs node, so detaching uvcvideo or sending the camera raw requests stays with root.
. /orvella/tests/lib.sh
if ! command -v udevadm >/dev/null || [ ! -f /orvella/udev/70-uaccess.rules ]; then
    not_ok "udevadm and 70-uaccess.rules are in the guest (the suite could not download Debian's udev and systemd packages)"
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
expect "the USB device shows a video control interface" \
    "$(udevadm info --query=property --path=/sys/bus/usb/devices/1-1 | grep -c '^ID_USB_INTERFACES=.*:0e0100:')" 1
expect "the camera's USB device is not tagged uaccess" "$(has_uaccess --path=/sys/bus/usb/devices/1-1)" no
usbfs=$(printf '/dev/bus/usb/%03d/%03d' "$(cat /sys/bus/usb/devices/1-1/busnum)" "$(cat /sys/bus/usb/devices/1-1/devnum)")
mode=$(stat -c %a "$usbfs" 2>/dev/null)
case $mode in
    "") others=missing ;;
    *[2367]) others=writable ;;
    *) others=read-only ;;
esac
expect "others may not write to the camera's usbfs node $usbfs (mode $mode)" "$others" read-only
expect "its owner is root" "$(stat -c %u "$usbfs" 2>/dev/null)" 0

udevadm control --exit > /dev/null 2>&1
finish
