# The application against a camera that falls silent while the application writes to it: the
# camera leaves its next 12 control requests unanswered, and the real uvcvideo holds each for its
# 5 s time-out (a minute in all). The program's event loop must not wait that out: a call on the
# session bus is answered within 1 s meanwhile, and SIGTERM ends the program within 1 s. A thread
# inside the driver's ioctl cannot leave before the time-out of the request it waits on, so the
# second is counted from SIGTERM or from the end of the request under way then, whichever is
# later; no more requests may follow.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish
export XDG_CONFIG_HOME=/tmp/silent-config QT_QPA_PLATFORM=offscreen
rm -rf "$XDG_CONFIG_HOME" /tmp/app.pid /tmp/app.exit /tmp/session-bus
mkdir -p "$XDG_CONFIG_HOME"

now() { cut -d ' ' -f 1 /proc/uptime; }
# later A B: whether uptime A is more than B
later() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a > b) }'; }
unanswered() { since | grep -c ' noanswer$'; }
unlinked() { since | grep -c '^1 unlink ep0 cancelled$'; }

# A session bus of the test's own.
cat > /tmp/session-bus.conf <<'EOF'
<busconfig>
  <type>session</type>
  <listen>unix:path=/tmp/session-bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
EOF
BUS_PID=
stop_bus() { [ -n "$BUS_PID" ] && kill "$BUS_PID" 2>/dev/null && wait "$BUS_PID" 2>/dev/null; }
if ! command -v dbus-daemon > /dev/null || ! command -v dbus-send > /dev/null; then
    not_ok "dbus-daemon and dbus-send are in the guest (Debian packages dbus-daemon, dbus-bin)"
    finish
fi
# The bus looks the caller's user up: the guest has no user database of its own.
mkdir -p /etc
[ -f /etc/passwd ] || echo 'root:x:0:0:root:/tmp:/bin/sh' > /etc/passwd
[ -f /etc/group ] || echo 'root:x:0:' > /etc/group
[ -f /etc/machine-id ] || echo 0123456789abcdef0123456789abcdef > /etc/machine-id
dbus-daemon --config-file=/tmp/session-bus.conf --nofork --print-address=1 > /tmp/bus.out 2>&1 &
BUS_PID=$!
tries=0
while [ ! -S /tmp/session-bus ] && [ $tries -lt 50 ]; do
    tries=$((tries + 1))
    sleep 0.1
done
export DBUS_SESSION_BUS_ADDRESS=unix:path=/tmp/session-bus
# call TIMEOUT_MS METHOD [ARGUMENTS...]: a call on the application's bus object.
call() {
    timeout=$1 method=$2
    shift 2
    dbus-send --session --print-reply --reply-timeout="$timeout" --dest=org.orvella.Orvella \
        /org/orvella/Orvella "org.orvella.Orvella.$method" "$@"
}

check "orvellactl saves a profile to apply" orvellactl profile save 1 Evening

# The application, through a shell that records when it has been reaped: the whole process,
# every thread of it, has ended then.
(
    sh -c 'echo $$ > /tmp/app.pid; exec orvella' > /tmp/orvella.out 2>&1
    echo "$? $(now)" > /tmp/app.exit
) &
WATCH=$!
give_up=$(awk -v a="$(now)" 'BEGIN { print a + 60 }')
while ! call 1000 IsPanelVisible > /dev/null 2>&1 && ! later "$(now)" "$give_up"; do
    sleep 0.1
done
APP=$(cat /tmp/app.pid)
check "the application is on the bus" call 5000 IsPanelVisible
sleep 2  # what it sends at start has gone out
mark

# The camera falls silent, and the application is asked to write a profile to it.
check "the camera leaves its next 12 requests unanswered" ctl noanswer 1 12
call 120000 ApplyProfile string:1 string:Evening > /tmp/apply.out 2>&1 &
APPLY=$!
tries=0
while [ "$(unanswered)" -lt 1 ] && [ $tries -lt 100 ]; do
    tries=$((tries + 1))
    sleep 0.1
done
check "a request of the profile went unanswered" [ "$(unanswered)" -ge 1 ]
sleep 1  # inside the driver's time-out of that request
started=$(now)
check "while the camera is silent, IsPanelVisible is answered within 1 s" call 1000 IsPanelVisible
check "and ListCameras" call 1000 ListCameras
echo "    the calls took $(awk -v a="$(now)" -v b="$started" 'BEGIN { printf "%.1f", a - b }') s"

# SIGTERM: the program may wait for the request under way, not for the ones after it.
sent=$(unanswered)
asked=$(now)
kill -TERM "$APP"
ended=
while :; do
    # The request under way has ended once the kernel has unlinked every unanswered one.
    [ -z "$ended" ] && [ "$(unlinked)" -ge "$sent" ] && ended=$(now)
    [ -f /tmp/app.exit ] && break
    later "$(now)" "$(awk -v a="$asked" 'BEGIN { print a + 12 }')" && break
    sleep 0.1
done
deadline=$(awk -v a="$asked" -v e="${ended:-0}" 'BEGIN { print (e > a ? e : a) + 1 }')
exited=
if [ -f /tmp/app.exit ]; then
    exited=$(cut -d ' ' -f 2 /tmp/app.exit)
    expect "asked to stop, it exits with status 0" "$(cut -d ' ' -f 1 /tmp/app.exit)" 0
    expect "within 1 s of SIGTERM, or of the end of the request under way then" \
        "$(later "$exited" "$deadline" && echo "no: at $exited, the limit was $deadline" || echo yes)" yes
else
    not_ok "the application exits after SIGTERM (still running 12 s later)"
    kill -KILL "$APP" 2>/dev/null
fi
echo "    SIGTERM at $asked, the request under way then ended at ${ended:-?}, exit at ${exited:-none};"
echo "    unanswered requests: $sent before SIGTERM, $(($(unanswered) - sent)) after"
wait "$WATCH" 2>/dev/null
kill "$APPLY" 2>/dev/null
wait "$APPLY" 2>/dev/null
stop_bus
if [ $FAILURES -gt 0 ]; then
    echo "the bus said:"
    sed 's/^/    /' /tmp/bus.out
    echo "orvella said:"
    grep -v 'min(\|FormatCode' /tmp/orvella.out | tail -n 30 | sed 's/^/    /'
    echo "the camera's requests since the mark:"
    since | sed 's/^/    /' | tail -n 40
fi
finish
