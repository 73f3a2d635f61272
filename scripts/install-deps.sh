#!/usr/bin/env bash
# Installs the Debian packages the project needs that are not yet on the machine.
#   scripts/install-deps.sh          everything: build, tests, sanitizers, fuzzers, test peers
#   scripts/install-deps.sh --tool   only what building the library and warden needs
set -euo pipefail

build=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev)
tests=(googletest libgtest-dev libgmock-dev libbenchmark-dev libboost-dev libboost-serialization-dev
       libsigc++-3.0-dev clang libclang-rt-14-dev clang-format
       lrzsz socat time python3 python3-vobject proj-bin geographiclib-tools pkgconf
       binutils-mingw-w64-x86-64 binutils-mingw-w64-i686
       gpsbabel gdal-bin libxml2-utils chromium
       g++-mingw-w64-x86-64-posix wine64 wine)

wanted=("${build[@]}")
[ "${1:-}" = "--tool" ] || wanted+=("${tests[@]}")

missing=()
for pkg in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO=sudo
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
