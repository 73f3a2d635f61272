#!/usr/bin/env bash
# Command-line checks of "warden receive" against lrzsz's sz: files arrive whole with their
# times, existing files are kept unless --overwrite, text mode converts line ends, and a sender
# that fails ends the session with status 1; hostile names, orphaned commands and hung-up lines.
# Exit 77 (skipped) when sz is missing.
set -u
warden=$1
command -v sz >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

mkdir -p "$work/src/sub" "$work/out"
cd "$work/src"
head -c 1234567 /dev/urandom > big.bin
printf 'one\r\ntwo\r\n' > text.txt
echo nested > sub/n.txt
touch -d '2001-02-03 04:05:06 UTC' big.bin

out=$("$warden" receive --exec 'sz -q big.bin -f sub/n.txt' --dir "$work/out" 2>&1) ||
    fail "first session: $out"
cmp -s big.bin "$work/out/big.bin" || fail "big.bin differs"
cmp -s sub/n.txt "$work/out/sub/n.txt" || fail "sub/n.txt differs"
[ "$(stat -c %Y "$work/out/big.bin")" = "$(stat -c %Y big.bin)" ] || fail "time not kept"
grep -q '2 file(s) received, 1234574 bytes' <<<"$out" || fail "summary: $out"
ls -A "$work/out" | grep -q "savetmp" && fail "temporary file left behind"

# An existing file is kept and the sender told to skip it.
echo keep > "$work/out/text.txt"
out=$("$warden" receive --exec 'sz -q text.txt' --dir "$work/out" --json 2>/dev/null)
[ $? -eq 2 ] || fail "existing file: expected status 2"
grep -q '^{"file":"text.txt","outcome":"skipped",.*"reason":"exists"' <<<"$out" &&
    grep -q '^{"summary":{"received":0,.*"skipped":1,' <<<"$out" || fail "skip as JSON: $out"
[ "$(cat "$work/out/text.txt")" = keep ] || fail "existing file replaced"

# --overwrite replaces it; text mode turns CR LF into LF.
touch -d '2001-02-03 04:05:06 UTC' text.txt
out=$("$warden" receive --exec 'sz -q -a text.txt' --dir "$work/out" --overwrite --quiet --json) ||
    fail "overwrite session"
grep -q '"outcome":"received",.*"modified":"2001-02-03T04:05:06Z"' <<<"$out" ||
    fail "received as JSON: $out"
[ "$(od -An -c "$work/out/text.txt" | tr -d ' ')" = 'one\ntwo\n' ] || fail "text conversion"

# A command that is no ZModem sender fails the session cleanly.
out=$("$warden" receive --exec 'echo hello' --dir "$work/out" 2>&1)
[ $? -eq 1 ] || fail "non-sender: expected status 1"
grep -q 'transfer failed' <<<"$out" || fail "non-sender message: $out"

# Hostile and long names: nothing raw reaches the terminal, and a name of 250 bytes still fits.
hostile=$(printf 'c\x01t\x1bl.txt')
long=$(printf 'L%.0s' $(seq 250))
echo x > "$hostile"
echo y > "$long"
out=$("$warden" receive --exec "sz -q '$hostile' $long" --dir "$work/out" 2>&1) ||
    fail "hostile names: $out"
grep -q $'\x1b' <<<"$out" && fail "escape reached the terminal"
[ -f "$work/out/c_t_l.txt" ] && [ -f "$work/out/$long" ] || fail "hostile or long name not stored"

# The command and everything it started end with the session: on failure and on SIGTERM.
marker="sleep 302.$$"
"$warden" receive --exec "$marker; true" --dir "$work/out" --quiet >/dev/null 2>&1 &
sleep 1
kill -TERM $!
wait $!
[ $? -eq 1 ] || fail "interrupted session: expected status 1"
sleep 0.3
pgrep -f "$marker" >/dev/null && fail "the command's children outlived warden"

# A serial device: a pseudo-terminal that socat connects to sz.
if command -v socat >/dev/null; then
    mkdir "$work/tty"
    timeout 60 socat PTY,link="$work/pty",rawer EXEC:"sz -q big.bin" 2>/dev/null &
    for _ in $(seq 50); do [ -e "$work/pty" ] && break; sleep 0.1; done
    timeout 60 "$warden" receive --device "$work/pty" --dir "$work/tty" --quiet >/dev/null 2>&1 ||
        fail "device session"
    cmp -s big.bin "$work/tty/big.bin" || fail "big.bin over the device differs"
    wait
    # The other end going away fails the session at once, not after the error allowance.
    timeout 60 socat PTY,link="$work/pty2",rawer EXEC:"sleep 1" 2>/dev/null &
    for _ in $(seq 50); do [ -e "$work/pty2" ] && break; sleep 0.1; done
    start=$SECONDS
    out=$(timeout 60 "$warden" receive --device "$work/pty2" --dir "$work/tty" 2>&1)
    [ $? -eq 1 ] || fail "hung-up device: expected status 1"
    [ $((SECONDS - start)) -le 10 ] || fail "hang-up noticed only after $((SECONDS - start)) s"
    grep -q 'hung up' <<<"$out" || fail "hang-up message: $out"
    wait
fi

# Exactly one line source is required.
"$warden" receive --dir "$work/out" >/dev/null 2>&1 && fail "no source accepted"
echo ok
