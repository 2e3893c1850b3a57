# Another program that looks like a browser uses the camera through the real uvcvideo driver while
# the application runs offscreen with the guard on: "chromium" (a copy of uvcreq under that name,
# whose --hold keeps the node open) holds the capture node open, and a copy of orvellactl under the
# same name resets the brightness meanwhile, as Chromium's capture does at each stream start. The
# application names
# it (a /proc scan of who holds the node), applies its rule (profile "Call"), and puts the user's
# last state back when it lets go; each step is one log line.
. /orvella/tests/lib.sh
start_cameras $CAMERAS/generic.json || finish
export XDG_CONFIG_HOME=/tmp/who-config QT_QPA_PLATFORM=offscreen
PLIST=$XDG_CONFIG_HOME/orvella/org.orvella.Orvella.plist
rm -rf "$XDG_CONFIG_HOME" /tmp/who
mkdir -p "$XDG_CONFIG_HOME" /tmp/who/shell /tmp/who/ctl
cp "$(command -v uvcreq)" /tmp/who/shell/chromium
cp "$(command -v orvellactl)" /tmp/who/ctl/chromium

check "orvellactl saves a profile Call with brightness 5" \
    sh -c 'orvellactl set 1 Brightness 5 && orvellactl profile save 1 Call'
check "orvellactl sets brightness 21" orvellactl set 1 Brightness 21
check "orvellactl records the model's last state" orvellactl apply-last 1
# The guard on, and the rule for chromium: the profile Call while it uses the camera.
awk '!done && /<dict>/ { print; print "<key>GuardSettings</key><true/>";
       print "<key>ProgramRules</key><dict><key>chromium</key><string>profile:Call</string></dict>";
       done = 1; next } { print }' "$PLIST" > "$PLIST.new" && mv "$PLIST.new" "$PLIST"

check "the application starts and puts the last state on the camera" start_app
check "the guard is on" wait_line "Settings guard on" 1

# "chromium" opens the node and keeps it open; 2 s later its reset writes brightness -7; it lets
# go 4 s after that.
/tmp/who/shell/chromium --hold /dev/video0 6 &
CHROMIUM=$!
(sleep 2; /tmp/who/ctl/chromium set 1 Brightness -7 >/dev/null) &
check "the application names chromium and applies its profile" \
    wait_line 'Settings guard: applying profile "Call" to .* for chromium' 5
wait $CHROMIUM
check "when chromium lets go, the last state comes back" \
    wait_line "Settings guard: restoring the last state of .* (chromium let go of it)" 5
wait_brightness 1500
expect "the camera got the profile, chromium's reset, the profile again, then the last state" \
    "$(set_cur 1 2 2 | tr '\n' ' ')" "0500 ok f9ff ok 0500 ok 1500 ok "
expect "the driver holds the last state's brightness" "$(orvellactl get 1 Brightness)" "21"
expect "the rule is said once per use" \
    "$(grep -c 'chromium uses .*; its rule: apply profile "Call"' /tmp/orvella.out)" "1"

kill -TERM $APP 2>/dev/null
wait $APP
if [ $FAILURES -gt 0 ]; then
    echo "orvella said:"
    grep -v 'min(\|FormatCode' /tmp/orvella.out | sed 's/^/    /'
    echo "the camera's writes since the mark:"
    since | grep '^1 21 ' | sed 's/^/    /'
fi
finish
