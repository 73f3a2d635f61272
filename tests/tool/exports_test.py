#!/usr/bin/env python3
"""warden's exports read back by other GPS software (gpsbabel, GDAL, xmllint): every track point
must come back at the position and time that gpsbabel's own NMEA reader finds in the log, and
user places must come back as points with circles of their radii. Exit 77 = skipped."""
import csv, io, json, math, os, re, shutil, subprocess, sys, tempfile

WARDEN, SOURCE, TESTDATA = sys.argv[1:4]
if not (shutil.which("gpsbabel") and shutil.which("ogr2ogr")):
    sys.exit(77)
os.chdir(tempfile.mkdtemp(prefix="warden-exports-"))
failures = []


def run(*args):
    return subprocess.run(args, check=True, capture_output=True, text=True).stdout


def check(condition, message):
    if not condition:
        failures.append(message)


def unicsv_points(text):
    """(time, lat, lon) rows of gpsbabel's unicsv output."""
    return [(f"{r['Date'].replace('/', '-')}T{r['Time']}Z", float(r["Latitude"]), float(r["Longitude"]))
            for r in csv.DictReader(io.StringIO(text))]


def same(got, want, label):
    check(len(got) == len(want), f"{label}: {len(got)} points, expected {len(want)}")
    for g, w in zip(got, want):
        if g[0] != w[0] or abs(g[1] - w[1]) > 2e-6 or abs(g[2] - w[2]) > 2e-6:
            failures.append(f"{label}: {g} instead of {w}")
            return


logs = [os.path.join(SOURCE, "samples/drive.nmea")]  # UK, east of Greenwich, damaged lines
for name in ("bu353s4.log", "et-332.log"):  # southern/eastern and northern/western fixes
    if os.path.exists(os.path.join(TESTDATA, "nmea/gpsd", name)):
        logs.append(os.path.join(TESTDATA, "nmea/gpsd", name))
reference = [p for log in logs for p in unicsv_points(run("gpsbabel", "-t", "-i", "nmea", "-f", log, "-o", "unicsv", "-F", "-"))]

for fmt in ("gpx", "kml", "geojson", "csv"):
    run(WARDEN, "track", "--format", fmt, "-o", f"t.{fmt}", *logs)
xsd = os.path.join(TESTDATA, "schemas/gpx-1.1.xsd")
if os.path.exists(xsd) and shutil.which("xmllint"):
    check(subprocess.run(["xmllint", "--noout", "--schema", xsd, "t.gpx"], capture_output=True).returncode == 0,
          "GPX does not validate against the GPX 1.1 schema")
for fmt in ("gpx", "kml"):
    same(unicsv_points(run("gpsbabel", "-t", "-i", fmt, "-f", f"t.{fmt}", "-o", "unicsv", "-F", "-")), reference, fmt)
geojson = []
for row in csv.DictReader(io.StringIO(run("ogr2ogr", "-f", "CSV", "/vsistdout/", "t.geojson", "-lco", "GEOMETRY=AS_WKT"))):
    coordinates = re.findall(r"(-?[\d.]+) (-?[\d.]+)", row["WKT"])
    geojson += [(t, float(lat), float(lon)) for t, (lon, lat) in zip(json.loads(row["coordTimes"]), coordinates)]
same(geojson, reference, "geojson")
csv_rows = run("ogr2ogr", "-f", "CSV", "/vsistdout/", "t.csv", "-oo", "X_POSSIBLE_NAMES=longitude",
               "-oo", "Y_POSSIBLE_NAMES=latitude", "-oo", "KEEP_GEOM_COLUMNS=NO", "-lco", "GEOMETRY=AS_XY")
same([(r["time"], float(r["Y"]), float(r["X"])) for r in csv.DictReader(io.StringIO(csv_rows))], reference, "csv")

# Places: a point per place, then its address and geofence circles, whose vertices lie at the
# radius from the place.
places_file = os.path.join(SOURCE, "tests/places/data/two-places.dat")
places = [json.loads(line) for line in run(WARDEN, "places", "--json", places_file).splitlines()]
for fmt in ("geojson", "kml"):
    run(WARDEN, "places", places_file, "--export", fmt, "-o", f"p.{fmt}")
    rows = list(csv.DictReader(io.StringIO(run("ogr2ogr", "-f", "CSV", "/vsistdout/", f"p.{fmt}", "-lco", "GEOMETRY=AS_WKT"))))
    check(len(rows) == 3 * len(places), f"places {fmt}: {len(rows)} features")
    for place, (point, address, fence) in zip(places, zip(*[iter(rows)] * 3)):
        lon, lat = map(float, re.findall(r"-?[\d.]+", point["WKT"]))
        check(abs(lat - place["latitude"]) < 1e-7 and abs(lon - place["longitude"]) < 1e-7, f"places {fmt}: {point['WKT']}")
        for feature, radius in ((address, place["address_radius"]), (fence, place["geofence_radius"])):
            for vlon, vlat in re.findall(r"(-?[\d.]+) (-?[\d.]+)", feature["WKT"]):
                dy = (float(vlat) - lat) * 111195
                dx = (float(vlon) - lon) * 111195 * math.cos(math.radians(lat))
                if abs(math.hypot(dx, dy) - radius) > 0.01 * radius:
                    failures.append(f"places {fmt}: vertex {vlon} {vlat} off the {radius} m circle")
                    break

print("\n".join(failures) or "ok")
sys.exit(1 if failures else 0)
