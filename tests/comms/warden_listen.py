#!/usr/bin/env python3
"""Command-line checks of "warden listen" on pseudo-terminals: a held port is said to be in use,
a burst into a slow pipe loses no sentence, a hang-up ends the command at once with an error,
and --reconnect goes on when the port comes back."""
import ctypes, json, os, pty, signal, subprocess, sys, tempfile, threading, time, tty

warden = sys.argv[1]
SENTENCE = b"$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n"


def fail(message):
    print("FAIL:", message)
    sys.exit(1)


def new_pty():
    master, slave = pty.openpty()
    tty.setraw(slave)
    name = os.ttyname(slave)
    os.close(slave)
    return master, name


def listen(device, *extra):
    # Ends with this script even when a time limit kills it, so no listener is left spinning.
    die_with_parent = lambda: ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG
    return subprocess.Popen([warden, "listen", "--device", device, "--json", "--no-clock", *extra],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            preexec_fn=die_with_parent)


def started(process):
    line = process.stderr.readline()
    if b"listening" not in line:
        fail("no start line: %r" % line)


master, name = new_pty()
first = listen(name)
started(first)

second = listen(name)
_, err = second.communicate(timeout=10)
if second.returncode != 1 or b"in use" not in err or err.count(b"\n") != 1:
    fail("second open: status %d, %r" % (second.returncode, err))

# Far more than the pty and the pipe hold, read slowly: the device is held back, not drained.
lines = 20000
os.set_blocking(master, True)
writer = threading.Thread(target=os.write, args=(master, SENTENCE * lines))
writer.start()
time.sleep(0.3)
out = b""
while out.count(b'"GPRMC"') < lines:
    chunk = first.stdout.read1(1 << 16)
    if not chunk:
        break
    out += chunk
writer.join()
if out.count(b'"GPRMC"') < lines:
    fail("burst: %d of %d sentences" % (out.count(b'"GPRMC"'), lines))

start = time.time()
os.close(master)
rest, err = first.communicate(timeout=10)
if first.returncode != 1 or b"hung up" not in err or time.time() - start > 3:
    fail("hang-up: status %d after %.1fs, %r" % (first.returncode, time.time() - start, err))

# Through a link that is pointed at a new pseudo-terminal once the first one is gone.
with tempfile.TemporaryDirectory() as work:
    link = os.path.join(work, "gps")
    master, name = new_pty()
    os.symlink(name, link)
    third = listen(link, "--reconnect", "--count", "1")
    started(third)
    os.close(master)
    time.sleep(0.3)
    master, name = new_pty()
    os.unlink(link)
    os.symlink(name, link)
    deadline = time.time() + 5
    while third.poll() is None and time.time() < deadline:
        os.write(master, SENTENCE)
        time.sleep(0.2)
    out, err = third.communicate(timeout=10)
    os.close(master)
    # Failed attempts while waiting are not reported: only the hang-up and the return are.
    if third.returncode != 0 or b"GPRMC" not in out or b"is back" not in err or b"open" in err:
        fail("reconnect: status %d, %r" % (third.returncode, err))

# Lines split across reads, a line with no line end at the hang-up, and noise longer than any
# sentence: each arrives whole, the noise in bounded pieces, the summary counts them all.
master, name = new_pty()
fourth = listen(name)
started(fourth)
for piece in (SENTENCE[:10], SENTENCE[10:] + SENTENCE[:-2], b"\r\n" + b"x" * 2500 + b"\n",
              SENTENCE[:-2]):
    os.write(master, piece)
    time.sleep(0.1)
os.close(master)
out, _ = fourth.communicate(timeout=10)
records = [json.loads(line) for line in out.splitlines()]
summary = records[-1].get("summary", {})
if [r.get("type") for r in records[:2]] != ["GPRMC"] * 2 or records[-2].get("type") != "GPRMC" \
        or summary.get("decoded_total") != 3 or summary.get("rejected_total") != 3:
    fail("line assembly: %r" % out[-400:])

# The conventions the other subcommands follow: an example and the exit statuses in --help,
# a single answer as one JSON document.
for command in ("listen", "ports", "receive"):
    text = subprocess.run([warden, command, "--help"], capture_output=True, text=True).stdout
    if "Examples:" not in text or "Exit status:" not in text or "--json" not in text:
        fail("%s --help lacks examples, exit statuses or --json" % command)
ports = subprocess.run([warden, "ports", "--first", "1", "--last", "2", "--all", "--json"],
                       capture_output=True, text=True)
if ports.returncode != 0 or sorted(json.loads(ports.stdout)) != ["ports", "unmapped"]:
    fail("ports --json: %r" % ports.stdout)
print("warden listen: all checks passed")
