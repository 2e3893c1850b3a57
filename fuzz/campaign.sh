#!/usr/bin/env bash
# The long campaign whose figures docs/fuzzing.md reports: every target for a fixed number of
# inputs, one fuzzer at a time, at low priority so that the machine stays usable.
#   nice -n 10 fuzz/campaign.sh [TARGET=RUNS...]    (default: the numbers below)
set -uo pipefail
cd "$(dirname "$0")/.."
plan=("$@")
[ ${#plan[@]} -eq 0 ] && plan=(sysfs_descriptors=6700000 camera_definition=1000000 descriptors=800000
                               usbip=400000 device=2050000)
FUZZ_RUNS=1 fuzz/run-fuzz.sh 1 >/dev/null 2>&1 || true  # builds every target
for entry in "${plan[@]}"; do
    FUZZ_NO_BUILD=1 FUZZ_RUNS="${entry#*=}" fuzz/run-fuzz.sh 7200 "${entry%%=*}"
done
