"""Reads a vCard file with python3-vobject, an independent reader, and prints one line a card:
uid, formatted name, nickname, cell number and the two device extension properties, separated by
tabs ("-" for a property the card lacks)."""
import sys

import vobject


def main(path):
    with open(path, newline="") as stream:
        text = stream.read()
    for card in vobject.readComponents(text):
        out = {"uid": None, "fn": None, "nickname": None, "tel": None,
               "locator": None, "warden": None}
        for line in card.getChildren():
            kinds = [kind.upper() for kind in line.singletonparams]
            if line.name == "UID":
                out["uid"] = line.value
            elif line.name == "FN":
                out["fn"] = line.value
            elif line.name == "NICKNAME":
                out["nickname"] = line.value
            elif line.name == "TEL" and "CELL" in kinds:
                out["tel"] = line.value
            elif line.name == "X-NIMBUS-ATTRIBUTES" and "LOCATOR" in kinds:
                out["locator"] = line.value
            elif line.name == "X-NIMBUS-ATTRIBUTES" and "WARDEN" in kinds:
                out["warden"] = line.value
        fields = ["uid", "fn", "nickname", "tel", "locator", "warden"]
        print("\t".join("-" if out[f] is None else out[f] for f in fields))


if __name__ == "__main__":
    main(sys.argv[1])
