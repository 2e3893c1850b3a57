#!/usr/bin/env bash
# The application's event-loop latency while a camera is slow: how long a cheap call on its bus
# object (IsPanelVisible, answered on the event loop) waits, first with nothing else to do, then
# while ApplyProfile keeps writing to a virtual camera that answers at once (the reference), and
# then to the same camera taking 2 s per request (`slow 1 2000` on --virtual-control), all in the
# same run. Figures are printed as a Markdown table.
#
#   bench/latency-bench.sh ORVELLA ORVELLACTL PROBE [SECONDS]
#
# PROBE is orvella-bus-latency (bench/latency/); SECONDS (default 10) is how long each phase
# sends calls, one every 100 ms; the answers are then awaited. Offscreen, on a private session
# bus, with a fresh preferences file. Needs dbus-daemon and dbus-send.
set -euo pipefail

APP=$(realpath "$1")
CTL=$(realpath "$2")
PROBE=$(realpath "$3")
SECONDS_PER_PHASE=${4:-10}
SLOW_MS=2000
SOURCE=$(cd "$(dirname "$0")/.." && pwd)
for tool in dbus-daemon dbus-send; do
    command -v "$tool" >/dev/null || { echo "latency-bench: $tool is missing" >&2; exit 2; }
done

WORK=$(mktemp -d)
PIDS=()
cleanup() {
    local pid
    # A camera left slow would hold the application's quitting up.
    [ -p "$WORK/control" ] && echo "slow 1 0" >"$WORK/control" || true
    for pid in "${PIDS[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${PIDS[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$WORK"
}
trap cleanup EXIT

dbus-daemon --session --nofork --print-address=1 >"$WORK/bus" 2>/dev/null &
PIDS+=($!)
for _ in $(seq 100); do [ -s "$WORK/bus" ] && break; sleep 0.05; done
export DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$WORK/bus")
export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
export XDG_RUNTIME_DIR=$WORK/runtime XDG_CONFIG_HOME=$WORK/config QT_QPA_PLATFORM=offscreen
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
mkdir -p "$XDG_CONFIG_HOME/orvella"
CAMERA=$SOURCE/tests/fixtures/cameras/generic.json
# No periodic re-send and no slider refresh: the requests are the profile's only.
cat >"$XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>Disable Popup</key>
	<true/>
	<key>ReconfigureWebcam</key>
	<integer>0</integer>
	<key>UpdateSlider</key>
	<integer>0</integer>
</dict>
</plist>
EOF
"$CTL" --virtual "$CAMERA" profile save 1 Bench >/dev/null

LOG=$WORK/requests.log
"$APP" --virtual "$CAMERA" --virtual-control "$WORK/control" --request-log "$LOG" \
    >"$WORK/orvella.out" 2>&1 &
APP_PID=$!
PIDS+=($APP_PID)
ready=no
for _ in $(seq 300); do
    if dbus-send --session --print-reply --reply-timeout=1000 --dest=org.orvella.Orvella \
        /org/orvella/Orvella org.orvella.Orvella.IsPanelVisible >/dev/null 2>&1; then
        ready=yes
        break
    fi
    sleep 0.1
done
if [ $ready = no ]; then
    echo "latency-bench: the application did not come on the bus:" >&2
    tail -n 20 "$WORK/orvella.out" >&2
    exit 1
fi
sleep 2  # what it sends at start has gone out

# control LINE: gives the virtual camera a command and waits until the request log confirms it.
control() {
    echo "$1" >"$WORK/control"
    for _ in $(seq 100); do
        grep -qxF "# ok: $1" "$LOG" && return 0
        sleep 0.05
    done
    echo "latency-bench: \"$1\" was not confirmed" >&2
    exit 1
}
requests() { grep -c '^1 ' "$LOG" || true; }

# phase NAME [PROBE OPTIONS...]: one phase's table row.
phase() {
    local name=$1 before after line
    shift
    before=$(requests)
    line=$("$PROBE" --seconds "$SECONDS_PER_PHASE" --every 100 "$@") ||
        echo "latency-bench: the probe reported errors (above)" >&2
    after=$(requests)
    # "calls ANSWERED/SENT median M ms max X ms applies D"
    set -- $line
    echo "| $name | ${2:-?} | ${4:-?} | ${7:-?} | ${10:-?} | $((after - before)) |"
}

IDLE=$(phase "no requests (idle)")
REFERENCE=$(phase "answers at once" --apply 1 Bench)
control "slow 1 $SLOW_MS"
SLOW=$(phase "$SLOW_MS ms per request" --apply 1 Bench)
control "slow 1 0"

cat <<EOF
| camera | IsPanelVisible answered / sent | median (ms) | max (ms) | ApplyProfile calls answered | camera requests |
|---|---|---|---|---|---|
$IDLE
$REFERENCE
$SLOW

Calls sent every 100 ms for $SECONDS_PER_PHASE s per phase, answers awaited; in the last two phases ApplyProfile
was sent at the start and again each time it was answered.
EOF
