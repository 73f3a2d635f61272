#!/usr/bin/env bash
# Cross-builds the library, its tests and warden for 64-bit Windows with MinGW-w64 and runs the
# tests under Wine.
#   scripts/windows.sh                  build everything and test (Release, no benchmarks)
#   scripts/windows.sh --no-test        build only
#   scripts/windows.sh --backends-only  only the Wine tests of the Windows backends (test_windows)
# Output: build/windows/bin (Shared.dll, warden.exe, tests), build/windows/install (the package).
set -euo pipefail
cd "$(dirname "$0")/.."

root=$PWD
build=build/windows
toolchain=$root/cmake/toolchains/mingw-w64-x86_64.cmake
jobs=$(nproc)

# GoogleTest for MinGW, from the sources Debian ships; built once per build folder.
gtest=$root/$build/googletest
if [ ! -f "$gtest/lib/cmake/GTest/GTestConfig.cmake" ]; then
    cmake -S /usr/src/googletest -B $build/googletest-build -G Ninja \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$gtest" >/dev/null
    cmake --build $build/googletest-build -j"$jobs"
    cmake --install $build/googletest-build >/dev/null
fi

cmake -S . -B $build -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DSHARED_BUILD_BENCH=OFF -DSHARED_WERROR=ON -DGTest_DIR="$gtest/lib/cmake/GTest" \
    -DCMAKE_INSTALL_PREFIX="$root/$build/install" >/dev/null
mode=${1:-}
if [ "$mode" = "--backends-only" ]; then
    cmake --build $build -j"$jobs" --target test_windows
else
    cmake --build $build -j"$jobs"
    cmake --install $build >/dev/null
fi
[ "$mode" = "--no-test" ] && exit 0

# The first start of a fresh prefix takes a while; done once here so that no test pays for it.
export WINEPREFIX=$root/$build/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
if [ ! -f "$WINEPREFIX/system.reg" ]; then
    wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
    "$wine" wineboot --init >/dev/null 2>&1 || true
    wineserver -w 2>/dev/null || /usr/lib/wine/wineserver64 -w 2>/dev/null || true
fi
if [ "$mode" = "--backends-only" ]; then
    ctest --test-dir $build -R '^windows' -j"$jobs" --output-on-failure --no-tests=error
else
    ctest --test-dir $build -j"$jobs" --output-on-failure --no-tests=error
fi
