#!/usr/bin/env bash
# A long libFuzzer campaign: runs every fuzz target for a while, starting from and growing its
# corpus in fuzz/corpus/<target>, then minimises that corpus with -merge=1 and prints per target
# the executions, the coverage reached and the findings (crash, leak, timeout or OOM inputs, kept
# under build/fuzz/campaign/).
#   scripts/fuzz-campaign.sh [SECONDS_PER_TARGET] [TARGET...]   (default 600 s, every target)
#   NICE=10 scripts/fuzz-campaign.sh 60                          on a shared machine
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-600}
[ $# -gt 0 ] && shift
nice_level=${NICE:-0}
jobs=$(nproc)

CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSHARED_FUZZ=ON \
    -DSHARED_BUILD_TESTS=OFF -DSHARED_BUILD_BENCH=OFF -DSHARED_BUILD_TOOLS=OFF >/dev/null
nice -n "$nice_level" cmake --build build/fuzz -j"$jobs"

if [ $# -gt 0 ]; then
    targets=("$@")
else
    targets=()
    for binary in build/fuzz/fuzz/fuzz_*; do targets+=("${binary##*/fuzz_}"); done
fi

campaign=build/fuzz/campaign
mkdir -p "$campaign"
found=0
printf '%-16s %12s %8s %8s %8s\n' target executions cov files findings
for name in "${targets[@]}"; do
    binary=build/fuzz/fuzz/fuzz_$name
    corpus=fuzz/corpus/$name
    work=$campaign/$name
    mkdir -p "$corpus" "$work"
    rm -f "$campaign/$name"-*
    nice -n "$nice_level" "$binary" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix="$campaign/$name-" -print_final_stats=1 "$work" "$corpus" \
        >"$campaign/$name.log" 2>&1 || true

    # Keep only the inputs that add coverage, smallest first, as the new committed corpus.
    merged=$campaign/$name.merged
    rm -rf "$merged" && mkdir -p "$merged"
    nice -n "$nice_level" "$binary" -merge=1 "$merged" "$corpus" "$work" \
        >"$campaign/$name.merge.log" 2>&1
    rm -rf "$corpus" && mv "$merged" "$corpus"

    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$campaign/$name.log" | tail -n 1)
    coverage=$(grep -o 'cov: [0-9]*' "$campaign/$name.log" | tail -n 1 | cut -d' ' -f2)
    findings=$(find "$campaign" -maxdepth 1 -name "$name-*" | wc -l)
    files=$(find "$corpus" -type f | wc -l)
    found=$((found + findings))
    printf '%-16s %12s %8s %8s %8s\n' "$name" "${executions:-?}" "${coverage:-?}" "$files" "$findings"
done
[ "$found" -eq 0 ]
