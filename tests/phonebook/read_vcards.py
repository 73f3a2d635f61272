"""Reads a vCard file with python3-vobject, an independent reader, and prints one line a card:
uid, formatted name, nickname, cell number and the two device extension properties, separated by
tabs ("-" for a property the card lacks)."""
import sys

import vobject

# (property name, required parameter) of each column.
COLUMNS = [("UID", None), ("FN", None), ("NICKNAME", None), ("TEL", "CELL"),
           ("X-NIMBUS-ATTRIBUTES", "LOCATOR"), ("X-NIMBUS-ATTRIBUTES", "WARDEN")]

with open(sys.argv[1], newline="") as stream:
    for card in vobject.readComponents(stream.read()):
        out = ["-"] * len(COLUMNS)
        for line in card.getChildren():
            kinds = [kind.upper() for kind in line.singletonparams]
            for i, (name, kind) in enumerate(COLUMNS):
                if line.name == name and (kind is None or kind in kinds):
                    out[i] = line.value
        print("\t".join(out))
