#!/bin/sh
# One kernel test's result, as the suite's boot (kernel-suite.sh) recorded it.
#   check-result.sh WORK NAME     exit 0 passed, 1 failed, 77 skipped
results=$1/results.txt
if [ ! -f "$results" ]; then
    echo "no results in $1: the kernel.boot test did not run or failed"
    exit 1
fi
if grep -q '^SKIP' "$results"; then
    echo "kernel suite skipped: $(sed -n 's/^SKIP //p' "$results")"
    exit 77
fi
[ -f "$1/logs/$2.log" ] && cat "$1/logs/$2.log"
case $(awk -v name="$2" '$1 == name { print $2 }' "$results") in
    PASS) exit 0 ;;
    FAIL) exit 1 ;;
    *) echo "no result for $2: the guest stopped before it finished (see $1/console.log)"; exit 1 ;;
esac
