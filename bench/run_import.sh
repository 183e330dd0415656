#!/usr/bin/env bash
# CSV import, side by side with SQLite on the same W3 rows (id and 8 fields; the peer's generator
# writes them): `rykel db import` of the CSV into a new database file (fields and types inferred,
# saved once) against the sqlite3 shell's `.import --csv` into an in-memory table. Prints medians
# of 3, ours/SQLite and the peak memory of each. RYKEL_W3_ROWS picks a smaller run.
source "$(dirname "$0")/common.sh"
data=$(w3_csv)
$PY - "$data" "$OUT" <<'PY'
import os, statistics, sys
from pairing import process, table
data, out = sys.argv[1], sys.argv[2]
db = os.path.join(out, "w3_import.ry-dbb")
ours, peer = [], []
for _ in range(3):
    for f in (db, db.replace(".ry-dbb", ".header"), db + ".lock"):
        if os.path.exists(f): os.remove(f)
    ours.append(process(["build/rykel", "db", "import", db, data, "--quiet"]))
    peer.append(process(["sqlite3", ":memory:", f".import --csv {data} w3"]))
table(f"{os.path.basename(data)} import, median of 3", "SQLite",
      [("db import (new file) vs .import :memory:", statistics.median(m for m, _ in ours),
        statistics.median(m for m, _ in peer))], width=44)
print(f"peak memory: RyKEL {max(m for _, m in ours):.0f} MB, SQLite {max(m for _, m in peer):.0f} MB")
PY
