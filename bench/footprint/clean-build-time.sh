#!/bin/sh
# The time of a clean build of the two programs (orvella, orvellactl: Release, no sanitizers, no
# compiler cache), here and at a reference revision, built one after the other in the same run so
# the ratio holds on any machine.
#
#   bench/footprint/clean-build-time.sh [REFERENCE_REV]     (default: c985131, before the reshaping)
set -eu
cd "$(dirname "$0")/../.."
ref=${1:-c985131}
work=$(mktemp -d)
trap 'git worktree remove --force "$work/ref" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
git worktree add --detach "$work/ref" "$ref" >/dev/null 2>&1
git worktree add --detach "$work/head" HEAD >/dev/null 2>&1
trap 'git worktree remove --force "$work/ref" >/dev/null 2>&1 || true;
      git worktree remove --force "$work/head" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT

build() {  # tree -> seconds
    cmake -S "$1" -B "$1/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_COMPILER_LAUNCHER= >/dev/null
    start=$(date +%s.%N)
    CCACHE_DISABLE=1 cmake --build "$1/build" --target orvella orvellactl >/dev/null
    end=$(date +%s.%N)
    awk -v s="$start" -v e="$end" 'BEGIN { printf "%.1f", e - s }'
}

jobs=$(nproc)
t_ref=$(build "$work/ref")
t_head=$(build "$work/head")
awk -v r="$t_ref" -v h="$t_head" -v ref="$ref" -v j="$jobs" 'BEGIN {
    printf "clean build of orvella and orvellactl (%d jobs): reference %s %.1f s, HEAD %.1f s, ratio %.2f\n",
        j, ref, r, h, h / r }'
