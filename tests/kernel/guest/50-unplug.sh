# Cameras that go away: unplugged and plugged back, not answering, vanishing mid-request.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/logitech-c270.json || finish

ctl unplug 1
check "unplugged: the nodes go away" wait_nodes 0
expect "orvellactl list: no camera" "$(orvellactl list; echo "status $?")" "status 0"
ctl plug 1
check "plugged back: uvcvideo binds it again" wait_nodes 2
expect "the same camera" "$(orvellactl list | cut -f 3)" 0x01100000046d0825

# A request the camera leaves unanswered: the kernel gives up after 5 s and unlinks it, the
# backend reports "not responding" and the core retries once, which the camera answers.
ctl noanswer 1 1
mark
started=$(cut -d . -f 1 /proc/uptime)
expect "orvellactl set Gain after a lost request" "$(orvellactl set 1 Gain 9 2>&1)" "Gain = 9"
waited=$(( $(cut -d . -f 1 /proc/uptime) - started ))
check "the kernel waited its 5 s timeout" [ $waited -ge 4 ]
expect "the camera saw the request twice" "$(set_cur 1 2 4 | xargs)" "0900 noanswer 0900 ok"
check "the kernel unlinked the first" grep -q '^1 unlink ep0 cancelled' $LOG
check "the kernel timed out (ETIMEDOUT)" sh -c 'dmesg | grep -q "SET_CUR) UVC control 4 on unit 2: -110"'

# Gone in the middle of a request: the next control request finds the camera unplugged.
ctl vanish 1 1
mark
orvellactl set 1 Gain 7 > /tmp/out 2>&1
status=$?
expect "orvellactl ends with status 1, no crash" $status 1
expect "and says the camera is gone" "$(cat /tmp/out)" \
    "orvellactl: writing Gain = 7 failed: status 0xe00002c0, the camera is gone"
expect "the camera vanished during the SET_CUR" "$(set_cur 1 2 4)" "0700 gone"
check "the nodes go away" wait_nodes 0
check "the kernel saw a disconnect" sh -c 'dmesg | grep -q "USB disconnect"'
check "the request ended with ESHUTDOWN" sh -c 'dmesg | grep -q "SET_CUR) UVC control 4 on unit 2: -108"'
expect "orvellactl list afterwards" "$(orvellactl list; echo "status $?")" "status 0"
finish
