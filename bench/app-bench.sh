#!/usr/bin/env bash
# Orvella against qv4l2 and an empty Qt Widgets window (bench/empty-qt, the same Qt as Orvella),
# all started the same way on one Xvfb in the same run:
#   - cold start to a ready window (Orvella: its control panel mapped, with two virtual cameras
#     probed; qv4l2 and the empty program: their window mapped), the first start of each and the
#     median of RUNS;
#   - idle CPU over IDLE seconds (Orvella with the 0.5 s timer running and both of its
#     intervals, "UpdateSlider" and "ReconfigureWebcam", off), measured on all three at once;
#   - resident memory (VmRSS), proportional set size (Pss) and the shared libraries mapped
#     (distinct .so files in /proc/PID/maps, Qt's plugins included) after the idle period.
# Figures are printed as a Markdown table with the ratios Orvella / qv4l2 and Orvella / empty Qt.
#
#   bench/app-bench.sh ORVELLA [IDLE_SECONDS] [RUNS]
#
# The empty program is EMPTY_QT, by default orvella-empty-qt in the build tree's bench/ beside
# ORVELLA's app/. Needs Xvfb, xdotool, dbus-daemon and qv4l2 (`./run bench-app` installs them).
set -euo pipefail

APP=$(realpath "$1")
IDLE=${2:-60}
RUNS=${3:-5}
SOURCE=$(cd "$(dirname "$0")/.." && pwd)
EMPTY_QT=$(realpath "${EMPTY_QT:-$(dirname "$APP")/../bench/orvella-empty-qt}")
[ -x "$EMPTY_QT" ] || { echo "app-bench: the empty Qt program $EMPTY_QT is missing" >&2; exit 2; }
for tool in Xvfb xdotool dbus-daemon qv4l2; do
    command -v "$tool" >/dev/null || { echo "app-bench: $tool is missing" >&2; exit 2; }
done

WORK=$(mktemp -d)
PIDS=()
cleanup() {
    local pid
    for pid in "${PIDS[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${PIDS[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$WORK"
}
trap cleanup EXIT

# The desktop: an X server and a private bus (the session and the system bus of both programs),
# with no tray host, so Orvella's panel opens as a window as it does on such desktops.
Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp -noreset >"$WORK/display" 2>/dev/null &
PIDS+=($!)
for _ in $(seq 100); do [ -s "$WORK/display" ] && break; sleep 0.05; done
export DISPLAY=:$(cat "$WORK/display")
dbus-daemon --session --nofork --print-address=1 >"$WORK/bus" 2>/dev/null &
PIDS+=($!)
for _ in $(seq 100); do [ -s "$WORK/bus" ] && break; sleep 0.05; done
export DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$WORK/bus")
export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
export XDG_RUNTIME_DIR=$WORK/runtime XDG_CONFIG_HOME=$WORK/config
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
mkdir -p "$XDG_CONFIG_HOME/orvella" "$WORK/cameras"
unset XDG_CURRENT_DESKTOP DESKTOP_SESSION KDE_FULL_SESSION WAYLAND_DISPLAY QT_QPA_PLATFORM
cp "$SOURCE/tests/fixtures/cameras/generic.json" "$SOURCE/tests/fixtures/cameras/logitech-c270.json" "$WORK/cameras/"
cat >"$XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>Disable Popup</key>
	<true/>
	<key>ReconfigureWebcam</key>
	<integer>0</integer>
	<key>Show/Hide Control Panel</key>
	<true/>
	<key>UpdateSlider</key>
	<integer>0</integer>
</dict>
</plist>
EOF

now_ms() { date +%s%3N; }

# ready PID [LOG]: a window of PID is mapped (and, with LOG, both cameras are plugged in).
ready() {
    xdotool search --onlyvisible --pid "$1" >/dev/null 2>&1 || return 1
    [ -z "${2:-}" ] || [ "$(grep -c '^# plug ' "$2" 2>/dev/null)" -ge 2 ]
}

# start NAME COMMAND...: starts the program, waits (up to 30 s) until it is ready; sets PID and
# START_MS.
start() {
    local name=$1 log= began
    shift
    [ "$name" = orvella ] && log=$WORK/requests.log && rm -f "$log"
    began=$(now_ms)
    "$@" >"$WORK/$name.out" 2>&1 &
    PID=$!
    PIDS+=("$PID")
    until ready "$PID" "$log"; do
        if ! kill -0 "$PID" 2>/dev/null || [ $(( $(now_ms) - began )) -gt 30000 ]; then
            echo "app-bench: $name did not become ready:" >&2
            tail -n 20 "$WORK/$name.out" >&2
            exit 1
        fi
        sleep 0.01
    done
    START_MS=$(( $(now_ms) - began ))
}

stop() {
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

median() { sort -n | awk '{ a[NR] = $1 } END { print (NR % 2) ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2 }'; }

ORVELLA=("$APP" --virtual-dir "$WORK/cameras" --request-log "$WORK/requests.log")
QV4L2=(qv4l2)
EMPTY=("$EMPTY_QT")

# Start-up, taking turns so that none gets a warmer machine.
declare -A FIRST TIMES
for run in $(seq "$RUNS"); do
    for name in orvella qv4l2 empty; do
        case $name in
            orvella) start $name "${ORVELLA[@]}" ;;
            qv4l2) start $name "${QV4L2[@]}" ;;
            empty) start $name "${EMPTY[@]}" ;;
        esac
        stop "$PID"
        [ "$run" = 1 ] && FIRST[$name]=$START_MS
        TIMES[$name]+="$START_MS "
    done
done

# Idle, all three at once, after a few seconds to settle.
start orvella "${ORVELLA[@]}"
ORVELLA_PID=$PID
start qv4l2 "${QV4L2[@]}"
QV4L2_PID=$PID
start empty "${EMPTY[@]}"
EMPTY_PID=$PID
sleep 5
ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
o0=$(ticks $ORVELLA_PID) q0=$(ticks $QV4L2_PID) e0=$(ticks $EMPTY_PID) t0=$(now_ms)
sleep "$IDLE"
o1=$(ticks $ORVELLA_PID) q1=$(ticks $QV4L2_PID) e1=$(ticks $EMPTY_PID) t1=$(now_ms)
HZ=$(getconf CLK_TCK)
cpu() { awk -v t="$1" -v hz="$HZ" -v ms="$2" 'BEGIN { printf "%.3f", 100 * t / hz / (ms / 1000) }'; }
ORVELLA_CPU=$(cpu $((o1 - o0)) $((t1 - t0)))
QV4L2_CPU=$(cpu $((q1 - q0)) $((t1 - t0)))
EMPTY_CPU=$(cpu $((e1 - e0)) $((t1 - t0)))
rss() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }
pss() { awk '/^Pss:/ { print $2 }' "/proc/$1/smaps_rollup"; }
# Shared libraries mapped: distinct files named *.so or *.so.N... (plugins included).
libs() { awk '$6 ~ /\.so(\.[0-9]+)*$/ { print $6 }' "/proc/$1/maps" | sort -u | wc -l; }
ORVELLA_RSS=$(rss $ORVELLA_PID) QV4L2_RSS=$(rss $QV4L2_PID) EMPTY_RSS=$(rss $EMPTY_PID)
ORVELLA_PSS=$(pss $ORVELLA_PID) QV4L2_PSS=$(pss $QV4L2_PID) EMPTY_PSS=$(pss $EMPTY_PID)
ORVELLA_LIBS=$(libs $ORVELLA_PID) QV4L2_LIBS=$(libs $QV4L2_PID) EMPTY_LIBS=$(libs $EMPTY_PID)
# LIBRARY_LIST=FILE keeps Orvella's list of mapped libraries.
if [ -n "${LIBRARY_LIST:-}" ]; then
    awk '$6 ~ /\.so(\.[0-9]+)*$/ { print $6 }' "/proc/$ORVELLA_PID/maps" | sort -u >"$LIBRARY_LIST"
fi
stop $ORVELLA_PID
stop $QV4L2_PID
stop $EMPTY_PID

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b == 0) print "n/a"; else printf "%.2f", a / b }'; }
# CPU time is counted in clock ticks: a program that used none gets a bound, not a ratio.
cpu_ratio() {  # cpu_ratio ORVELLA_TICKS OTHER_TICKS
    if [ "$2" -eq 0 ] && [ "$1" -eq 0 ]; then
        echo "both under one tick of $((1000 / HZ)) ms"
    elif [ "$2" -eq 0 ]; then
        echo "> $1 (under one tick of $((1000 / HZ)) ms)"
    else
        ratio "$1" "$2"
    fi
}
om=$(echo "${TIMES[orvella]}" | tr ' ' '\n' | grep . | median)
qm=$(echo "${TIMES[qv4l2]}" | tr ' ' '\n' | grep . | median)
em=$(echo "${TIMES[empty]}" | tr ' ' '\n' | grep . | median)
row() {  # row LABEL ORVELLA QV4L2 EMPTY: the figures and Orvella's ratios to the other two
    echo "| $1 | $2 | $3 | $4 | $(ratio "$2" "$3") | $(ratio "$2" "$4") |"
}
cat <<EOF
| measure | Orvella | qv4l2 | empty Qt | Orvella / qv4l2 | Orvella / empty Qt |
|---|---|---|---|---|---|
$(row "start to a ready window, first start (ms)" "${FIRST[orvella]}" "${FIRST[qv4l2]}" "${FIRST[empty]}")
$(row "start to a ready window, median of $RUNS (ms)" "$om" "$qm" "$em")
| idle CPU over $((t1 - t0)) ms, % of one core (CPU time) | $ORVELLA_CPU ($(( (o1 - o0) * 1000 / HZ )) ms) | $QV4L2_CPU ($(( (q1 - q0) * 1000 / HZ )) ms) | $EMPTY_CPU ($(( (e1 - e0) * 1000 / HZ )) ms) | $(cpu_ratio $((o1 - o0)) $((q1 - q0))) | $(cpu_ratio $((o1 - o0)) $((e1 - e0))) |
$(row "resident memory, VmRSS (KiB)" "$ORVELLA_RSS" "$QV4L2_RSS" "$EMPTY_RSS")
$(row "proportional set size, Pss (KiB)" "$ORVELLA_PSS" "$QV4L2_PSS" "$EMPTY_PSS")
$(row "shared libraries mapped" "$ORVELLA_LIBS" "$QV4L2_LIBS" "$EMPTY_LIBS")

Start times, ms: Orvella ${TIMES[orvella]}; qv4l2 ${TIMES[qv4l2]}; empty Qt ${TIMES[empty]}
EOF
