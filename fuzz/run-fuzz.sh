#!/usr/bin/env bash
# Builds the libFuzzer targets in build-fuzz/ and fuzzes each for SECONDS (default 60), one after
# the other, one line per target: inputs run, coverage, faults. Called by `./run fuzz`.
#   fuzz/run-fuzz.sh [SECONDS] [TARGET...]
# FUZZ_NO_BUILD=1 uses the programs already in build-fuzz/.
# FUZZ_RUNS=N also stops each target after N inputs (for campaigns counted in runs).
# Corpora grow in build-fuzz/corpus/<target>; a fault's input is kept in build-fuzz/crashes/ and
# the script exits non-zero. Seeds come from the camera fixtures (orvella-fuzz seeds), and the
# checked-in fuzz/corpus/<target> and fuzz/regressions/<target> are read too. Inputs are at most
# 4 KB, 64 KB for preferences and frames (max_len below).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=60
if [[ "${1:-}" =~ ^[0-9]+$ ]]; then seconds=$1; shift; fi
out=build-fuzz

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in fuzz/targets/*.cpp; do targets+=("$(basename "$source" .cpp)"); done
fi
if [ -z "${FUZZ_NO_BUILD:-}" ]; then
    CC=clang CXX=clang++ cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DORVELLA_FUZZ=ON -DORVELLA_SANITIZE=ON -DORVELLA_BUILD_TESTS=OFF \
        -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link" >/dev/null
    build_targets=(orvella-fuzz)
    for t in "${targets[@]}"; do build_targets+=("fuzz_$t"); done
    cmake --build "$out" -j "$(nproc 2>/dev/null || echo 2)" --target "${build_targets[@]}" \
        >"$out/build.log" 2>&1 || { tail -30 "$out/build.log"; exit 1; }
fi

mkdir -p "$out/crashes" "$out/logs"
"$out/fuzz/orvella-fuzz" seeds "$out/seeds" tests/fixtures/cameras "${targets[@]}" >/dev/null

# No allocation stacks while fuzzing: they cost more than the target itself. A fault's input is
# replayed with them by orvella-fuzz (docs/fuzzing.md).
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:malloc_context_size=0:allocator_release_to_os_interval_ms=-1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# The longest input libFuzzer makes. Preferences files run to tens of kilobytes (the checked-in
# corpus has files of 28 KB) and frames are whole pictures; 4 KB cuts both short. The other
# readers' inputs are small.
max_len() {
    case "$1" in
        preferences|frames) echo 65536 ;;
        *) echo 4096 ;;
    esac
}

status=0
for t in "${targets[@]}"; do
    corpus="$out/corpus/$t"
    mkdir -p "$corpus"
    inputs=("$corpus" "$out/seeds/$t")
    for extra in fuzz/regressions/$t fuzz/corpus/$t; do [ -d "$extra" ] && inputs+=("$extra"); done
    options=(-max_total_time="$seconds" -entropic=0 -reload=0 -timeout=10 -rss_limit_mb=1024
             -max_len="$(max_len "$t")" -print_final_stats=1 -artifact_prefix="$out/crashes/$t-")
    [ -n "${FUZZ_RUNS:-}" ] && options+=(-runs="$FUZZ_RUNS")
    [ -f "fuzz/dictionaries/$t.dict" ] && options+=(-dict="fuzz/dictionaries/$t.dict")
    log="$out/logs/$t.log"
    before=$(ls "$out/crashes" | grep -c "^$t-" || true)
    start=$(date +%s)
    "$out/fuzz_$t" "${options[@]}" "${inputs[@]}" >"$log" 2>&1 || true
    elapsed=$(( $(date +%s) - start ))
    after=$(ls "$out/crashes" | grep -c "^$t-" || true)
    faults=$(( after - before ))
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    cov=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -1)
    corpus_size=$(grep -o 'corp: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
    printf '%-20s %10s runs  %-22s corpus %5s  %4ss  %s fault(s)\n' \
        "$t" "${runs:-?}" "${cov:-cov: ?}" "${corpus_size:-?}" "$elapsed" "$faults"
    if [ "$faults" -ne 0 ] || ! grep -q '^Done [0-9]* runs' "$log"; then
        status=1
        grep -m1 -E 'ERROR: |runtime error|==[0-9]+==' "$log" | sed 's/^/    /' || true
        ls -t "$out/crashes" | grep "^$t-" | head -1 | sed "s|^|    input kept: $out/crashes/|"
    fi
done
exit $status
