#!/usr/bin/env bash
# Reliability of "warden receive" on a noisy line: RUNS transfers of a SIZE-byte file from sz
# through a relay that damages both directions; prints how many arrived byte-identical.
#   bench/zmodem_noisy.sh WARDEN [RUNS=30] [SIZE=524288] [CORRUPT=1000] [DROP=20] [DUPLICATE=20]
#                         [RATE=0 bytes per second, 0 unlimited]
set -u
warden=$1 runs=${2:-30} size=${3:-524288} corrupt=${4:-1000} drop=${5:-20} duplicate=${6:-20}
rate=${7:-0}
relay=$(cd "$(dirname "$0")" && pwd)/zmodem_noisy_relay.py
command -v sz >/dev/null || { echo "sz is not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/src" "$work/out"
head -c "$size" /dev/urandom >"$work/src/f.bin"
cd "$work/src"
completed=0 damaged=0 total=0
for run in $(seq "$runs"); do
    rm -f "$work/out/f.bin"
    start=$SECONDS
    "$warden" receive --quiet --dir "$work/out" \
        --exec "python3 '$relay' $run $corrupt $drop $duplicate $rate -- sz -q f.bin" >/dev/null 2>&1
    status=$?
    seconds=$((SECONDS - start))
    total=$((total + seconds))
    if [ -e "$work/out/f.bin" ]; then
        if cmp -s f.bin "$work/out/f.bin"; then completed=$((completed + 1)); else damaged=$((damaged + 1)); fi
    fi
    echo "run $run: status $status, ${seconds} s"
done
echo "completed $completed of $runs, damaged $damaged, $total s in all"
