#!/usr/bin/env python3
"""warden map rendered by headless Chromium: the picture is not blank, and the start and end
markers, a geofence and a 10 km grid line appear at the pixels where PROJ's own grid conversion
of their coordinates puts them. Exit 77 = skipped."""
import csv, io, os, re, shutil, struct, subprocess, sys, tempfile, zlib

WARDEN, SOURCE, TESTDATA = sys.argv[1:4]
CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser")
if not (CHROMIUM and shutil.which("cs2cs")):
    sys.exit(77)
work = tempfile.mkdtemp(prefix="warden-map-")
os.chdir(work)
LOG = os.path.join(SOURCE, "samples/drive.nmea")
PLACES = os.path.join(SOURCE, "tests/places/data/two-places.dat")  # 52.2 N 0.12 W, both fences
failures = []


def run(*args):
    return subprocess.run(args, check=True, capture_output=True, text=True).stdout


def png(path):
    """Width, height and rows of RGB(A) bytes of an 8-bit PNG, unfiltered."""
    data, pos, idat = open(path, "rb").read(), 8, b""
    while pos < len(data):
        size, kind = struct.unpack(">I4s", data[pos:pos + 8])
        if kind == b"IHDR":
            width, height, _, colour = struct.unpack(">IIBB", data[pos + 8:pos + 18])
        elif kind == b"IDAT":
            idat += data[pos + 8:pos + 8 + size]
        pos += 12 + size
    bpp = {2: 3, 6: 4}[colour]
    raw, stride, rows, prev = zlib.decompress(idat), width * bpp, [], bytearray(width * bpp)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for x in range(stride):
            a, b, c = line[x - bpp] if x >= bpp else 0, prev[x], prev[x - bpp] if x >= bpp else 0
            if kind == 4:
                p = a + b - c
                a = a if abs(p - a) <= abs(p - b) and abs(p - a) <= abs(p - c) else b if abs(p - b) <= abs(p - c) else c
            line[x] = (line[x] + (0, a, b, (a + b) // 2, a)[kind]) & 255
        rows.append(line)
        prev = line
    return width, height, [[tuple(r[x * bpp:x * bpp + 3]) for x in range(width)] for r in rows]


svg = run(WARDEN, "map", LOG, "--places", PLACES, "--width", "800", "-o", "-")
open("map.svg", "w").write(svg)
links = re.findall(r"https?://[^\"]*", svg)
if links != ["http://www.w3.org/2000/svg"] or "href" in svg:
    failures.append(f"the picture refers to the network: {links}")
width, height = map(int, re.search(r'width="(\d+)" height="(\d+)"', svg).groups())
vx, vy, vw, vh = map(float, re.search(r'viewBox="([^"]+)"', svg).group(1).split())
subprocess.run([CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                "--disable-background-networking", "--disable-component-update", "--disable-sync",
                f"--user-data-dir={work}/profile", f"--screenshot={work}/map.png", f"--window-size={width},{height}",
                f"file://{work}/map.svg"], capture_output=True, timeout=120)
if not os.path.exists("map.png"):
    sys.exit(77)  # a Chromium that cannot start here (no display libraries) proves nothing
w, h, pixels = png("map.png")
drawn = sum(p != pixels[0][0] for row in pixels for p in row)
if drawn < w * h // 100:
    failures.append(f"the picture is blank ({drawn} drawn pixels)")

fixes = list(csv.DictReader(io.StringIO(run(WARDEN, "track", "--format", "csv", LOG))))
lat_lons = [(fixes[0]["latitude"], fixes[0]["longitude"]), (fixes[-1]["latitude"], fixes[-1]["longitude"]), ("52.2", "-0.12")]
grid = [tuple(map(float, line.split()[:2])) for line in subprocess.run(
    ["cs2cs", "-f", "%.2f", "EPSG:4326", "EPSG:27700"], input="\n".join(" ".join(p) for p in lat_lons),
    capture_output=True, text=True, check=True).stdout.splitlines()]
for (e, n), colour, what in zip(grid, [(255, 0, 255), (0, 255, 255), (0, 0, 0xDD)], ["start", "end", "geofence"]):
    found = [(x, y) for y, row in enumerate(pixels) for x, p in enumerate(row) if p == colour]
    want = ((e - vx) / vw * w, (-n - vy) / vh * h)
    if not found:
        failures.append(f"no {what} pixels")
        continue
    got = (sum(x for x, _ in found) / len(found) + 0.5, sum(y for _, y in found) / len(found) + 0.5)
    if abs(got[0] - want[0]) > 2 or abs(got[1] - want[1]) > 2:
        failures.append(f"{what} drawn at {got}, expected {want}")
line_x = round((540000 - vx) / vw * w)  # the 10 km line between TL 35 and TL 45
dark = sum(any(max(pixels[y][x]) < 0xB0 and max(pixels[y][x]) - min(pixels[y][x]) < 8 for x in (line_x - 1, line_x))
           for y in range(h))
if dark < h // 2:
    failures.append(f"easting 540000 is no grid line at x={line_x} ({dark} grey pixels)")

print("\n".join(failures) or "ok")
sys.exit(1 if failures else 0)
