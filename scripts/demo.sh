#!/usr/bin/env bash
# Builds the library and warden, decodes the bundled sample drive and converts a few positions.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --tool
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DSHARED_WERROR=ON -DSHARED_BUILD_TESTS=OFF \
      -DSHARED_BUILD_BENCH=OFF >/dev/null
cmake --build build/demo --target warden -j"$(nproc)"
warden=build/demo/tools/warden/warden
"$warden" nmea samples/drive.nmea
echo
echo "Positions to National Grid references, one per line, as cs2cs would take them:"
printf '52.65798 1.71605\n52.2053 0.1218\nTG 514 131\n' | "$warden" grid
