#!/bin/sh
# Lines per second of "warden nmea --json" on a log file and of "warden listen --json" reading a
# pseudo-terminal written flat out into a pipe, with the processor time each took (the machine
# is shared, so wall time alone says little).
#   bench/listen_throughput.sh build/rel/tools/warden/warden [LINES]
set -eu
warden=${1:?usage: listen_throughput.sh WARDEN [LINES]}
lines=${2:-100000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM

python3 - "$work/log.nmea" "$lines" <<'PY'
import functools, sys
bodies = ["GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A",
          "GPLOG,060102,1", "GPIOP,00000011,00000001,1.5,2.25,12.1", "GPGGA,1,2"]
with open(sys.argv[1], "w") as out:
    for i in range(int(sys.argv[2])):
        body = bodies[i % len(bodies)]
        out.write("$%s*%02X\r\n" % (body, functools.reduce(lambda a, c: a ^ ord(c), body, 0)))
PY

report() { # NAME LINES SECONDS USER SYS
    awk -v n="$1" -v l="$2" -v s="$3" -v u="$4" -v k="$5" 'BEGIN {
        printf "%-16s %8d lines %6.2f s  %9.0f lines/s  cpu %.2f s user + %.2f s sys\n",
               n, l, s, l / (s > 0 ? s : 0.001), u, k }'
}

/usr/bin/time -f "%e %U %S" -o "$work/t" "$warden" nmea --json "$work/log.nmea" >/dev/null
read -r e u s <"$work/t"
report "nmea --json" "$lines" "$e" "$u" "$s"

# A pty writer that stops only when the whole log is in; warden ends after --count lines.
python3 - "$warden" "$work/log.nmea" "$lines" "$work/t" <<'PY'
import os, pty, resource, subprocess, sys, threading, time, tty
warden, log, lines, out = sys.argv[1:5]
master, slave = pty.openpty()
tty.setraw(slave)
name = os.ttyname(slave)
start = time.monotonic()
p = subprocess.Popen([warden, "listen", "--device", name, "--json", "--no-clock",
                      "--count", lines], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
data = open(log, "rb").read()
def write():
    view = memoryview(data)
    while view:
        try:
            view = view[os.write(master, view[:65536]):]
        except OSError:
            return
threading.Thread(target=write, daemon=True).start()
got = sum(1 for _ in p.stdout)
p.wait()
elapsed = time.monotonic() - start
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
with open(out, "w") as f:
    f.write("%.3f %.2f %.2f %d\n" % (elapsed, usage.ru_utime, usage.ru_stime, got))
PY
read -r e u s got <"$work/t"
report "listen --json" "$lines" "$e" "$u" "$s"
[ "$got" -gt "$lines" ] || { echo "listen printed only $got lines" >&2; exit 1; }
