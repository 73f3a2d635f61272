#!/usr/bin/env bash
# Builds the library and warden, then decodes the bundled sample drive.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --tool
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DSHARED_WERROR=ON -DSHARED_BUILD_TESTS=OFF \
      -DSHARED_BUILD_BENCH=OFF >/dev/null
cmake --build build/demo --target warden -j"$(nproc)"
exec build/demo/tools/warden/warden nmea samples/drive.nmea
