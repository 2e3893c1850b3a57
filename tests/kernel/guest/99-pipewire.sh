# PipeWire's V4L2 plug-in serves the camera on the real uvcvideo, as on a desktop: two PipeWire
# clients (Orvella's shared stream, run by the PipeWire test client under two names) take frames
# from the camera's node at the same time, the client finder names both, and the capture node
# itself is busy for an exclusive V4L2 stream meanwhile. No session manager: the shared stream
# links itself. Needs the daemon, its modules and plug-ins in the guest (kernel-suite.sh copies
# them from the machine when it has them).
. /orvella/tests/lib.sh
if ! command -v pipewire > /dev/null || [ ! -f /orvella/pipewire.conf ]; then
    not_ok "PipeWire is in the guest (the machine that built it has no pipewire, pipewire-bin and libspa-0.2-modules)"
    finish
fi
start_cameras $CAMERAS/generic.json || finish

# The camera's capture node: uvcvideo's node with index 0 (index 1 is its metadata node).
NODE=
for entry in /sys/class/video4linux/video*; do
    [ "$(cat "$entry/index" 2>/dev/null)" = 0 ] && NODE=/dev/$(basename "$entry") && break
done
expect "the camera has a capture node" "${NODE:+yes}" yes

export XDG_RUNTIME_DIR=/tmp/pipewire-runtime
mkdir -p "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
sed "s|@DEVICE@|$NODE|g" /orvella/pipewire.conf > /tmp/pipewire.conf
pipewire -c /tmp/pipewire.conf > /tmp/pw-daemon.out 2>&1 &
DAEMON=$!

# wait_for FILE PATTERN SECONDS
wait_for() {
    tries=0
    while ! grep -q "$2" "$1" 2>/dev/null && [ $tries -lt $(($3 * 10)) ]; do
        tries=$((tries + 1))
        sleep 0.1
    done
    grep -q "$2" "$1" 2>/dev/null
}
tries=0
while [ ! -S "$XDG_RUNTIME_DIR/pipewire-0" ] && [ $tries -lt 200 ]; do
    tries=$((tries + 1))
    sleep 0.1
done
check "the PipeWire daemon starts" test -S "$XDG_RUNTIME_DIR/pipewire-0"

orvella_pipewire_test_client --stream "$NODE" test-browser > /tmp/browser.out 2>&1 &
BROWSER=$!
check "a PipeWire client takes frames from the camera's node" wait_for /tmp/browser.out '^streaming' 40
orvella_pipewire_test_client --stream "$NODE" second-viewer > /tmp/viewer.out 2>&1 &
VIEWER=$!
check "a second PipeWire client shares the camera" wait_for /tmp/viewer.out '^streaming' 40

orvella_pipewire_test_client --users "$NODE" > /tmp/users.out 2>&1
expect "the client finder names the first program" "$(grep -c "^$BROWSER test-browser\$" /tmp/users.out)" 1
expect "the client finder names the second program" "$(grep -c "^$VIEWER second-viewer\$" /tmp/users.out)" 1

uvcreq --stream YUYV 640x480 1 > /tmp/exclusive.out 2>&1
expect "an exclusive V4L2 stream finds the node busy meanwhile" "$(cut -d' ' -f1-3 /tmp/exclusive.out)" \
    "open failed: 0xe00002c5"

# The daemon goes away: each client is told once and ends its stream, nothing crashes.
kill -KILL $DAEMON
wait $DAEMON 2>/dev/null
check "the first client hears that the daemon went away" wait_for /tmp/browser.out '^failed .*daemon' 10
check "the second client hears it too" wait_for /tmp/viewer.out '^failed' 10
kill $BROWSER $VIEWER 2>/dev/null
wait $BROWSER 2>/dev/null
wait $VIEWER 2>/dev/null
if [ $FAILURES -gt 0 ]; then
    for file in /tmp/pw-daemon.out /tmp/browser.out /tmp/viewer.out /tmp/users.out; do
        echo "$file:"
        sed 's/^/    /' "$file"
    done
fi
finish
