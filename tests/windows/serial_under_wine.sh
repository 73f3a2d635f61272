#!/usr/bin/env bash
# Maps Wine's COM9 to one end of a socat pseudo-terminal pair, feeds NMEA sentences into the
# other end and checks that the bytes the library writes arrive there.
#   serial_under_wine.sh <wine> <wineprefix> <test_windows.exe>
set -u
wine=$1 prefix=$2 test=$3
command -v socat >/dev/null || { echo "SKIPPED: socat missing"; exit 0; }
work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    rm -f "$prefix/dosdevices/com9"
    rm -rf "$work"
}
trap cleanup EXIT
socat pty,raw,echo=0,link="$work/wine" pty,raw,echo=0,link="$work/linux" & pids+=($!)
for _ in $(seq 50); do [ -e "$work/wine" ] && [ -e "$work/linux" ] && break; sleep 0.1; done
mkdir -p "$prefix/dosdevices"
ln -sfn "$work/wine" "$prefix/dosdevices/com9"

exec 3<>"$work/linux"
cat <&3 >"$work/received" & pids+=($!)
(while :; do
    printf '$GPRMC,101500.000,A,5211.6543,N,00008.2345,E,0.0,0.0,140326,,,A*62\r\n' >&3
    sleep 0.2
done) & pids+=($!)

WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" SHARED_WINE_COM_PORT=9 \
    "$wine" "$test" --gtest_filter='WindowsSerial.*' || exit 1
sleep 0.5
grep -q 'PWARD,ACK' "$work/received" || { echo "the reply did not reach the Linux side"; exit 1; }
