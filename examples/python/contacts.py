"""A host script: a German contacts database of random entries, saved, reopened and shown
through a KEL template.

    PYTHONPATH=build/python /usr/bin/python3 examples/python/contacts.py OUTDIR [COUNT]
"""
import os
import sys
import time

import rykel

out = sys.argv[1] if len(sys.argv) > 1 else "."
count = int(sys.argv[2]) if len(sys.argv) > 2 else 10000
os.makedirs(out, exist_ok=True)
header = os.path.join(out, "info.header")
path = os.path.join(out, "contacts.ry-dbb")
for f in (header, path):
    if os.path.exists(f):
        os.remove(f)

# The schema: field ids named so that the random generator knows what to make.
db = rykel.cls_DB()
fields = [("VORNAME", "Vorname"), ("NACHNAME", "Nachname"), ("STRASSE", "Straße"), ("PLZ", "PLZ"),
          ("ORT", "Ort"), ("TELEFON", "Telefon"), ("EMAIL", "E-Mail")]
for fid, name in fields:
    db.FIELDCREATE(fid, rykel.ID_DBFieldType_String, name)
db.FIELD("NACHNAME").INDEXED = True
db.HEADERSAVE(header)
db.DBOPEN(path, header, True)

tool = rykel.DBTOOL_GET()
tool.RANDOMIZE(42)  # the same data on every machine
started = time.perf_counter()
for _ in range(count):
    entry = db.ENTRYFREEID()
    db.ENTRYADD(entry)
    for fid, _ in fields:
        db.ENTRYFIELD_LET(entry, fid, tool.RANDOM(fid, 1))
db.DBSAVE()
made = time.perf_counter() - started
db.DBCLOSE()

back = rykel.cls_DB()
back.DBOPEN(path, "", True)
ids = back.ENTRYALL_IDS()
print(f"{len(ids)} contacts made and saved in {made:.2f} s: {path} ({os.path.getsize(path) // 1024} KiB)")

# The first entries as a structure, rendered by a KEL template.
people = rykel.cls_Structure()
for i in ids[:8]:
    for fid, _ in fields:
        people.ITEM_LET(f"P{i}.{fid}", back.FIELDTEXT_GET(i, fid))
kel = rykel.cls_KEL()
kel.VARIABLES.ITEM_LET("people", people)
print(kel.PROCESS("{ITERATE p VAR:people {{VAR:p.VORNAME} {VAR:p.NACHNAME}, {VAR:p.PLZ} {VAR:p.ORT}, "
                  "{VAR:p.EMAIL}\n}}", None), end="")
back.DBCLOSE()
