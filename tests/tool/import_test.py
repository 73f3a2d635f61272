#!/usr/bin/env python3
"""warden refuses files of the wrong kind (clear one-line error, non-zero exit, nothing created)
and imports the vCards that real phones and address books export."""
import glob, json, os, re, subprocess, sys, tempfile

WARDEN, SOURCE, TESTDATA = sys.argv[1:4]
os.chdir(tempfile.mkdtemp(prefix="warden-import-"))
failures = []
open("random.bin", "wb").write(bytes((i * 97 + 13) % 256 for i in range(3000)))
open("text.txt", "w").write("shopping list\neggs, milk\n")


def warden(*args):
    return subprocess.run([WARDEN, *args], capture_output=True, text=True)


def book(path):
    return {e["nickname"]: e for e in map(json.loads, warden("phonebook", "list", "--json", path).stdout.splitlines())}


for args, error in [
    (["places", "random.bin"], r"random.bin is not a user-places file"),
    (["phonebook", "list", "random.bin"], r"random.bin is not a phonebook"),
    (["phonebook", "list", "text.txt"], r"text.txt is not a phonebook"),
    (["phonebook", "import", "text.txt", "new.vcf"], r"text.txt holds no vCard"),
    (["phonebook", "import", "random.bin", "new.vcf"], r"random.bin holds no vCard"),
    (["track", "random.bin", "-o", "new.vcf"], r"random.bin is not a device log"),
    (["map", "text.txt", "-o", "new.vcf"], r"text.txt is not a device log"),
]:
    run = warden(*args)
    if run.returncode == 0 or not re.fullmatch(rf"warden: .*{error}.*\n", run.stderr) or os.path.exists("new.vcf"):
        failures.append(f"{args}: exit {run.returncode}, {run.stderr!r}")

# Hand-made cards for what the real exports below may not all show: lower-case delimiters, a
# quoted-printable UTF-8 name over a soft line break, TYPE= lists, a name only in N, a number
# only on a fax line, and a card in the device's own form whose id and rights must survive.
open("cards.vcf", "w", newline="").write(
    "begin:vcard\r\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=\r\n=C3=BCrgen\r\n"
    "TEL;TYPE=HOME:+49 30 1234567\r\nTEL;TYPE=CELL,VOICE:+49 (170) 123-4567\r\nend:vcard\r\n"
    "BEGIN:VCARD\nFN:Fax Only\nTEL;WORK;FAX:0123 456\nEND:VCARD\n"
    "BEGIN:VCARD\nVERSION:2.1\nFN:Ann Smith\nNICKNAME:Ann\nTEL;CELL:+447700900123\nUID:00000007000000AB\n"
    "X-NIMBUS-ATTRIBUTES;LOCATOR:AllowVoice=False;Spot=True;Track=True;SOS=False;Geofence=True\n"
    "X-NIMBUS-ATTRIBUTES;WARDEN:WardenWarnings=True\nEND:VCARD\n")
run = warden("phonebook", "import", "cards.vcf", "hand.vcf")
entries = book("hand.vcf")
jurgen = entries.get("J\u00fcrgen M\u00fcller", {})
ann = entries.get("Ann", {})
if (run.returncode != 2 or "skipped 'Fax Only': no voice number" not in run.stderr or len(entries) != 2
        or jurgen.get("voice_number") != "+49 170 1234567" or ann.get("id") != "00000007000000AB"
        or [ann.get(k) for k in ("allow_voice", "allow_spot", "send_geofence", "warden_warnings")] != [False, True, True, True]):
    failures.append(f"hand-made cards: exit {run.returncode}, {run.stderr!r}, {entries}")
warden("phonebook", "import", "cards.vcf", "forced.vcf", "--rights", "VT")
if [e["allow_track"] and e["allow_voice"] and not e["allow_spot"] for e in book("forced.vcf").values()] != [True, True]:
    failures.append("--rights does not set the permissions of every imported entry")

exports = sorted(glob.glob(os.path.join(TESTDATA, "vcard/*/*.vcf")))
if exports:
    open("phones.vcf", "w", newline="").write("".join(open(f, encoding="latin-1").read() for f in exports))
    run = warden("phonebook", "import", "phones.vcf", "phones-book.vcf")
    entries = book("phones-book.vcf")
    wanted = {"Johny": "905 5551234", "Mike": "111 5554444", "John Doe": "+96123456789"}
    if len(entries) < 8 or any(entries.get(n, {}).get("voice_number") != v for n, v in wanted.items()) \
            or "skipped 'Joey': number has 11 character(s) a device cannot dial" not in run.stderr:
        failures.append(f"phone exports: {sorted(entries)}\n{run.stderr}")
    # The book written in the device's form imports again unchanged.
    warden("phonebook", "export", "phones-book.vcf", "device.vcf")
    warden("phonebook", "import", "device.vcf", "again.vcf")
    if book("again.vcf") != entries:
        failures.append("a device-form export does not import back unchanged")

print("\n".join(failures) or "ok")
sys.exit(1 if failures else 0)
