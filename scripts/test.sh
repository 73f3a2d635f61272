#!/usr/bin/env bash
# Installs what is missing, builds and runs every test: a warnings-as-errors release build,
# an address+undefined-behaviour sanitizer build, a thread-sanitizer build of the threaded code,
# short libFuzzer runs and a MinGW-w64 cross build tested under Wine.
#   FUZZ_SECONDS   seconds per fuzz target (default 15; 0 skips fuzzing)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)
fuzz_seconds=${FUZZ_SECONDS:-15}

step() { printf '\n== %s ==\n' "$*"; }

step "release build"
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSHARED_WERROR=ON >/dev/null
cmake --build build/release -j"$jobs"

step "address and undefined-behaviour sanitizers"
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSHARED_SANITIZE=address,undefined -DSHARED_WERROR=ON \
      -DSHARED_BUILD_BENCH=OFF >/dev/null
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build/asan -j"$jobs" --output-on-failure --no-tests=error

step "thread sanitizer (threaded code)"
cmake -S . -B build/tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSHARED_SANITIZE=thread -DSHARED_WERROR=ON \
      -DSHARED_BUILD_BENCH=OFF -DSHARED_BUILD_TOOLS=OFF "-DSHARED_TEST_FOLDERS=comms;time;positioning" >/dev/null
threaded=()
for folder in comms time positioning; do
    ls tests/$folder/*Test.cpp >/dev/null 2>&1 && threaded+=("test_$folder")
done
if [ ${#threaded[@]} -gt 0 ]; then
    cmake --build build/tsan -j"$jobs" --target "${threaded[@]}"
    # The noisy-line transfers against a real sz test recovery within a time-based error
    # allowance, not threading; under the thread sanitizer's slowdown the allowance, not the code,
    # decides them. They run in the other two builds.
    TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build/tsan -j"$jobs" --output-on-failure \
        -E 'ZModemSzNoise'
fi

if [ "$fuzz_seconds" != 0 ] && ls fuzz/*_fuzz.cpp >/dev/null 2>&1; then
    step "fuzzing, ${fuzz_seconds}s per target"
    CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSHARED_FUZZ=ON -DSHARED_WERROR=ON \
        -DSHARED_BUILD_TESTS=OFF -DSHARED_BUILD_BENCH=OFF -DSHARED_BUILD_TOOLS=OFF >/dev/null
    cmake --build build/fuzz -j"$jobs"
    for target in build/fuzz/fuzz/fuzz_*; do
        name=$(basename "$target")
        corpus=build/fuzz/corpus/$name
        mkdir -p "$corpus"
        seeds=()
        [ -d "fuzz/corpus/${name#fuzz_}" ] && seeds+=("fuzz/corpus/${name#fuzz_}")
        echo "-- $name"
        "$target" -max_total_time="$fuzz_seconds" -timeout=10 -rss_limit_mb=2048 \
            -artifact_prefix=build/fuzz/ \
            -print_final_stats=0 "$corpus" "${seeds[@]}" 2>build/fuzz/$name.log \
            || { tail -n 40 build/fuzz/$name.log; exit 1; }
    done
fi

step "windows (MinGW-w64 cross build under Wine)"
# Release, without benchmarks or fuzzers: the library, warden and every test binary under Wine.
scripts/windows.sh

# The release suite runs last so its summary closes the output.
step "release tests"
ctest --test-dir build/release -j"$jobs" --output-on-failure --no-tests=error
