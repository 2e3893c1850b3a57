# Helpers for the kernel tests, sourced by each test (busybox sh, inside the guest).
#
# A test starts its cameras with start_cameras, checks things with check/expect (one "ok -" or
# "not ok -" line each) and ends with finish, which stops the cameras and sets the exit status.
# The camera server logs every request its devices saw to $LOG (format in
# tools/usbip-camera/RequestLog.h); mark/since give the lines logged after a point.

LOG=/tmp/requests.log
CTL=/tmp/cameras.ctl
CAMERAS=/orvella/cameras
FAILURES=0
SERVER_PID=
MARK=0

ok() { echo "ok - $*"; }
not_ok() {
    echo "not ok - $*"
    FAILURES=$((FAILURES + 1))
}

# check DESCRIPTION COMMAND...: passes when the command succeeds; shows its output when not.
check() {
    description=$1
    shift
    if "$@" > /tmp/check.out 2>&1; then
        ok "$description"
    else
        not_ok "$description"
        sed 's/^/    /' /tmp/check.out
    fi
}

# expect DESCRIPTION ACTUAL EXPECTED
expect() {
    if [ "$2" = "$3" ]; then
        ok "$1"
    else
        not_ok "$1"
        echo "    expected: $3" | sed '2,$s/^/              /'
        echo "    actual:   $2" | sed '2,$s/^/              /'
    fi
}

nodes() { ls /sys/class/video4linux 2>/dev/null | wc -l; }

# wait_nodes N: waits (up to 20 s) until there are N video nodes.
wait_nodes() {
    tries=0
    while [ "$(nodes)" -ne "$1" ]; do
        tries=$((tries + 1))
        [ $tries -gt 200 ] && return 1
        sleep 0.1
    done
}

# start_cameras FILE...: serves the cameras over USB/IP and waits until uvcvideo has bound each
# one (a capture and a metadata node per camera).
start_cameras() {
    rm -f "$LOG" "$CTL"
    orvella-usbip-camera --log "$LOG" --control "$CTL" "$@" > /tmp/server.out 2>&1 &
    SERVER_PID=$!
    echo $SERVER_PID > /tmp/server.pid
    if ! wait_nodes $(($# * 2)); then
        not_ok "uvcvideo binds $*"
        cat /tmp/server.out
        dmesg | tail -n 30
        return 1
    fi
}

stop_cameras() {
    [ -n "$SERVER_PID" ] || return 0
    kill "$SERVER_PID" 2>/dev/null
    wait "$SERVER_PID" 2>/dev/null
    SERVER_PID=
    rm -f /tmp/server.pid
    wait_nodes 0
}

# ctl COMMAND: gives the camera server a command and waits until it confirms it.
ctl() {
    echo "$*" > "$CTL"
    tries=0
    while ! grep -qxF "# ok: $*" "$LOG"; do
        grep -qF "# error: $*" "$LOG" && return 1
        tries=$((tries + 1))
        [ $tries -gt 100 ] && return 1
        sleep 0.1
    done
}

mark() { MARK=$(wc -l < "$LOG"); }
since() { tail -n +$((MARK + 1)) "$LOG"; }

finish() {
    stop_cameras
    echo "$FAILURES failure(s)"
    [ $FAILURES -eq 0 ]
    exit
}

# wire CAMERA BMREQUESTTYPE BREQUEST UNIT SELECTOR: "DATA OUTCOME" of every such request the
# camera saw since the mark (VideoControl interface 0; numbers in decimal or 0x hex), e.g.
# `wire 1 0x21 0x01 2 2` for SET_CUR of brightness on processing unit 2.
wire() {
    since | awk -v c="$1" -v t="$(printf %02x "$2")" -v r="$(printf %02x "$3")" \
        -v i="$(printf %02x00 "$4")" -v v="$(printf %02x00 "$5")" \
        '$1 == c && $2 == t && $3 == r && $4 == v && $5 == i { print $7, $8 }'
}
set_cur() { wire "$1" 0x21 0x01 "$2" "$3"; }

# The application run offscreen beside the camera: its output in /tmp/orvella.out, its pid in APP.

# wait_line PATTERN SECONDS [FROM]: waits until the application's output, from line FROM on, has a
# line matching PATTERN.
wait_line() {
    from=${3:-1}
    tries=0
    while ! tail -n +"$from" /tmp/orvella.out | grep -q "$1" && [ $tries -lt $(($2 * 10)) ]; do
        tries=$((tries + 1))
        sleep 0.1
    done
    tail -n +"$from" /tmp/orvella.out | grep -q "$1"
}
# wait_brightness HEX: waits until the last brightness written to the camera since the mark is
# HEX ("1500" is 21).
wait_brightness() {
    tries=0
    while [ "$(set_cur 1 2 2 | tail -n 1)" != "$1 ok" ] && [ $tries -lt 150 ]; do
        tries=$((tries + 1))
        sleep 0.1
    done
    [ "$(set_cur 1 2 2 | tail -n 1)" = "$1 ok" ]
}
# start_app: starts the application and waits until it has put the last state (brightness 21)
# on the camera, as it does with every camera it finds, and then a little longer.
start_app() {
    mark
    rm -f /tmp/orvella.out  # an earlier run's "Ready:" must not count
    orvella > /tmp/orvella.out 2>&1 &
    APP=$!
    wait_line "orvella\[$APP\] Ready:" 60 && wait_brightness 1500 && sleep 1 && mark
}
