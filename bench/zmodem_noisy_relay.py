#!/usr/bin/env python3
"""A noisy line between warden and a command: relays both directions, corrupting, dropping and
duplicating bytes at given rates (per million bytes), from a fixed seed.

    zmodem_noisy_relay.py SEED CORRUPT DROP DUPLICATE [RATE] -- COMMAND [ARG...]

RATE (bytes per second, both directions alike) makes it a slow link that holds what the sender
has already sent, as a modem or a network relay does; 0 or absent is as fast as it goes.
"""
import os
import random
import select
import subprocess
import sys
import time


class Noise:
    def __init__(self, rng, corrupt, drop, duplicate):
        self.rng = rng
        total = corrupt + drop + duplicate
        self.rate = total / 1e6
        self.weights = (corrupt, drop, duplicate)
        self.gap = self.next_gap()

    def next_gap(self):
        # Bytes until the next damage: geometric, so the stream need not be drawn byte by byte.
        return int(self.rng.expovariate(self.rate)) if self.rate > 0 else 1 << 62

    def apply(self, data):
        out = bytearray()
        while len(data) > self.gap:
            out += data[:self.gap]
            byte, data = data[self.gap], data[self.gap + 1:]
            kind = self.rng.choices(range(3), self.weights)[0]
            if kind == 0:
                out.append(byte ^ (1 << self.rng.randrange(8)))
            elif kind == 2:
                out += bytes((byte, byte))
            self.gap = self.next_gap()
        self.gap -= len(data)
        out += data
        return bytes(out)


def main():
    split = sys.argv.index("--")
    seed, corrupt, drop, duplicate = (int(x) for x in sys.argv[1:5])
    rate = int(sys.argv[5]) if split > 5 else 0
    command = sys.argv[split + 1:]
    rng = random.Random(seed)
    down = Noise(rng, corrupt, drop, duplicate)  # command to warden
    up = Noise(rng, corrupt, drop, duplicate)  # warden to command
    child = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, bufsize=0)
    source, sink = child.stdout.fileno(), child.stdin.fileno()
    watched = [0, source]
    while source in watched:
        for fd in select.select(watched, [], [], 1.0)[0]:
            data = os.read(fd, 4096)
            if rate:
                time.sleep(len(data) / rate)
            if fd == source:
                if not data:
                    watched.remove(source)
                else:
                    os.write(1, down.apply(data))
            elif not data:
                watched.remove(0)
                child.stdin.close()
            else:
                try:
                    os.write(sink, up.apply(data))
                except BrokenPipeError:
                    pass
    sys.exit(child.wait())


if __name__ == "__main__":
    main()
