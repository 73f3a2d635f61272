#!/bin/bash
# Batch speed of warden against the tools its users know:
#   1. one million GPS points through "warden grid" and through PROJ's
#      "cs2cs EPSG:4326 EPSG:27700" (the same file, output to /dev/null);
#   2. a large device log through "warden nmea" read from a file and from standard input.
# Usage: bench/grid_batch.sh [path/to/warden] [points]
set -euo pipefail
warden=${1:-build/rel/tools/warden/warden}
points=${2:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

command -v cs2cs >/dev/null || { echo "cs2cs (Debian package proj-bin) is needed" >&2; exit 1; }

# Points spread over Great Britain, inside the datum-shift lattice.
awk -v n="$points" 'BEGIN { srand(1); for (i = 0; i < n; i++)
    printf "%.6f %.6f\n", 50.5 + rand() * 7.5, -5.0 + rand() * 6.5 }' > "$work/points.txt"

# Processor seconds (user + system) of "$@" with standard input from $input: the machine may be
# shared, and wall-clock time would measure the neighbours.
seconds() {
    local TIMEFORMAT=%U+%S
    { time "$@" < "$input" > /dev/null; } 2>&1 | bc
}

input="$work/points.txt"
cs2cs_s=$(seconds cs2cs EPSG:4326 EPSG:27700)
warden_s=$(seconds "$warden" grid)
echo "grid, $points points: warden ${warden_s} s, cs2cs ${cs2cs_s} s," \
     "ratio $(echo "scale=2; $warden_s / $cs2cs_s" | bc)"

# A log of 100 copies of the bundled drive.
here=$(dirname "$0")
for i in $(seq 100); do cat "$here/../samples/drive.nmea"; done > "$work/drive.nmea"
input=/dev/null
file_s=$(seconds "$warden" nmea "$work/drive.nmea")
input="$work/drive.nmea"
stdin_s=$(seconds "$warden" nmea -)
echo "nmea, $(wc -l < "$work/drive.nmea") lines: file ${file_s} s, standard input ${stdin_s} s"
