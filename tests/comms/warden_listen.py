#!/usr/bin/env python3
"""Command-line checks of "warden listen" on pseudo-terminals: a held port is said to be in use,
a burst into a slow pipe loses no sentence, a hang-up ends the command at once with an error,
and --reconnect goes on when the port comes back."""
import os, pty, subprocess, sys, tempfile, threading, time, tty

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
    return subprocess.Popen([warden, "listen", "--device", device, "--json", "--no-clock", *extra],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def started(process):
    line = process.stderr.readline()
    if b"listening" not in line:
        fail("no start line: %r" % line)


master, name = new_pty()
first = listen(name)
started(first)

second = listen(name)
_, err = second.communicate(timeout=10)
if second.returncode != 1 or b"in use" not in err:
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
    if third.returncode != 0 or b"GPRMC" not in out or b"is back" not in err:
        fail("reconnect: status %d, %r" % (third.returncode, err))
print("warden listen: all checks passed")
