#!/bin/busybox sh
# /init of the kernel-test guest: loads the USB/IP host controller and the UVC driver, runs every
# test in /orvella/tests in order and reports each on the console for kernel-suite.sh:
#   @@BEGIN NAME, then the test's output as "@@NAME| line", then "@@RESULT NAME PASS|FAIL".
/bin/busybox --install -s /bin
export PATH=/orvella/bin:/bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t devtmpfs devtmpfs /dev
mount -t tmpfs tmpfs /tmp
echo
echo "@@SUITE-START $(uname -r)"

while read -r module; do
    insmod "/lib/modules/$module.ko" || echo "@@FATAL cannot load $module"
done < /lib/modules/order

export LC_ALL=C.UTF-8 HOME=/tmp
only=$(cat /orvella/only 2>/dev/null)
for test in /orvella/tests/[0-9]*.sh; do
    name=$(basename "$test" .sh)
    name=${name#*-}
    [ -n "$only" ] && [ "$only" != "$name" ] && continue
    echo "@@BEGIN $name"
    started=$(cut -d ' ' -f 1 /proc/uptime)
    (cd /tmp && timeout 150 sh "$test") > "/tmp/$name.out" 2>&1
    status=$?
    ended=$(cut -d ' ' -f 1 /proc/uptime)
    sed "s/^/@@$name| /" "/tmp/$name.out"
    # A test that failed half-way may have left its camera server running.
    if [ -f /tmp/server.pid ]; then
        kill "$(cat /tmp/server.pid)" 2>/dev/null
        rm -f /tmp/server.pid
        sleep 1
    fi
    [ $status = 0 ] && result=PASS || result=FAIL
    echo "@@RESULT $name $result $(echo "$ended $started" | awk '{ printf "%.1f s", $1 - $2 }')"
done
dmesg | sed 's/^/@@dmesg| /'
echo "@@SUITE-END"
poweroff -f
