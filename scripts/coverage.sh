#!/usr/bin/env bash
# Per-test coverage: which lines of the library and the tool each CTest entry runs.
#   scripts/coverage.sh [--no-build]
# Builds with clang's source-based coverage in build/coverage, runs every CTest entry on its own
# and writes build/coverage/report.txt: the whole suite's line coverage per file, the files with
# the most lines no test runs, and the tests that run no line or branch that another test does not
# also run. Line coverage is a weak judge of a test (a boundary check runs the same lines as the
# ordinary case, a concurrency test the same lines as a serial one), so the last list is a place
# to start reading, not a list to delete; the mutation sampler is the judge.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage

if ! command -v clang++ >/dev/null || ! command -v llvm-cov >/dev/null; then
    apt-get update -qq && apt-get install -y -qq clang llvm >/dev/null
fi
if [[ "${1:-}" != --no-build ]]; then
    flags="-fprofile-instr-generate -fcoverage-mapping"
    CXX=clang++ cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSHARED_BUILD_BENCH=OFF \
        -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
        -DCMAKE_SHARED_LINKER_FLAGS="$flags" >/dev/null
    cmake --build $build -j"$(nproc)"
fi

profiles=$build/profiles
rm -rf $profiles && mkdir -p $profiles
objects=("$build/libShared.so")
[[ -x $build/tools/warden/warden ]] && objects+=(-object "$build/tools/warden/warden")
export_lines() { # profile data -> "file:line" and "file:bline:block:branch" that ran, one a line
    llvm-cov export -format=lcov -skip-functions -instr-profile "$1" "${objects[@]}" |
        awk -F'[:,]' -v top="$PWD/" '
            /^SF:/ { f = index($2, top) == 1 ? substr($2, length(top) + 1) : "" }
            f ~ /^(src|include|tools)\// && /^DA:/ && $3 > 0 { print f ":" $2 }
            f ~ /^(src|include|tools)\// && /^BRDA:/ && $5 != "-" && $5 > 0 {
                print f ":b" $2 ":" $3 ":" $4 }' | sort -u
}

i=0
(cd $build && ctest -N) | sed -n 's/^ *Test *#[0-9]*: //p' | while read -r name; do
    i=$((i + 1))
    dir=$profiles/$i && mkdir -p "$dir" && printf '%s\n' "$name" >"$dir/name"
    pattern=$(printf '%s' "$name" | sed 's/[][\.*^$+?(){}|]/\\&/g')
    (cd $build && LLVM_PROFILE_FILE="$PWD/profiles/$i/%p.profraw" \
        ctest -R "^$pattern\$" >/dev/null) || echo "failed: $name" >&2
    if compgen -G "$dir/*.profraw" >/dev/null; then
        llvm-profdata merge -sparse "$dir"/*.profraw -o "$dir/data"
        export_lines "$dir/data" >"$dir/ran"
        rm -f "$dir"/*.profraw
    else
        : >"$dir/ran"
    fi
done

llvm-profdata merge -sparse $profiles/*/data -o $build/all.profdata
llvm-cov export -format=lcov -skip-functions -instr-profile $build/all.profdata "${objects[@]}" |
    awk -F'[:,]' -v top="$PWD/" '/^SF:/ { f = index($2, top) == 1 ? substr($2, length(top) + 1) : "" }
        f ~ /^(src|include|tools)\// && /^DA:/ { print f ":" $2 ":" ($3 > 0) }' >$build/all-lines

python3 - "$profiles" "$build/all-lines" >$build/report.txt <<'EOF'
import collections, pathlib, sys
profiles, all_lines = pathlib.Path(sys.argv[1]), sys.argv[2]
ran = {(d / "name").read_text().strip(): set((d / "ran").read_text().split())
       for d in profiles.iterdir() if (d / "ran").exists()}
runs = collections.Counter(item for items in ran.values() for item in items)
files = collections.defaultdict(lambda: [0, 0])
for line in open(all_lines):
    name, _, hit = line.strip().rsplit(":", 2)
    files[name][0] += 1
    files[name][1] += int(hit)
total, hit = sum(f[0] for f in files.values()), sum(f[1] for f in files.values())
print(f"lines run by the suite: {hit} of {total} ({100 * hit / total:.1f}%)\n")
print("files with the most lines no test runs:")
for name, (n, h) in sorted(files.items(), key=lambda f: f[1][1] - f[1][0])[:25]:
    print(f"  {n - h:5} of {n:5}  {name}")
print("\ntests that run nothing another test does not also run:")
for name in sorted(n for n, items in ran.items() if items and all(runs[i] > 1 for i in items)):
    print(f"  {name}")
EOF
sed -n 1p $build/report.txt
echo "report: $build/report.txt"
