#!/usr/bin/env bash
# Database files, side by side with SQLite on the same W3 rows (id and 8 fields; the peer's
# generator writes them): our open and save in the binary and the structure form against SQLite
# reading every row of a file database (SELECT *, fetchall) and writing them (one transaction).
# Prints medians of 3, ours/SQLite, and memory per entry. RYKEL_W3_ROWS picks a smaller run.
source "$(dirname "$0")/common.sh"
data=$(w3_csv)
$PY - "$data" "$OUT/w3_sqlite.json" <<'PY'
import csv, json, os, sqlite3, statistics, sys, time
src, dst = sys.argv[1], sys.argv[2]
with open(src, newline="", encoding="utf-8") as f:
    r = csv.reader(f); next(r)
    rows = [(int(a), b, c, d, e, f_, g, float(h), int(i)) for a, b, c, d, e, f_, g, h, i in r]
path = os.path.join(os.path.dirname(dst), "w3.sqlite")
write, read = [], []
for _ in range(3):
    if os.path.exists(path): os.remove(path)
    t0 = time.perf_counter()
    con = sqlite3.connect(path)
    con.execute("CREATE TABLE person(id INTEGER PRIMARY KEY, FIRSTNAME TEXT, LASTNAME TEXT, STREET TEXT, "
                "PLZ TEXT, CITY TEXT, BIRTHDATE TEXT, SCORE REAL, ACTIVE INTEGER)")
    con.executemany("INSERT INTO person VALUES (?,?,?,?,?,?,?,?,?)", rows)
    con.commit(); con.close()
    write.append((time.perf_counter() - t0) * 1000)
    t0 = time.perf_counter()
    con = sqlite3.connect(path)
    got = con.execute("SELECT * FROM person").fetchall()
    con.close()
    read.append((time.perf_counter() - t0) * 1000)
    assert len(got) == len(rows)
json.dump({"write_ms": statistics.median(write), "read_ms": statistics.median(read)}, open(dst, "w"))
PY
RYKEL_QUIET=1 RYKEL_W3_FILE=$data RYKEL_BENCH_DIR=$OUT "$OUT/bench_db" --benchmark_format=json \
  --benchmark_out="$OUT/w3_rykel.json" --benchmark_out_format=json >/dev/null
$PY - "$OUT/w3_sqlite.json" "$OUT/w3_rykel.json" "$data" <<'PY'
import json, sys
from pairing import gbench, table
peer, ours = json.load(open(sys.argv[1])), gbench(sys.argv[2])
table(f"W3 {sys.argv[3].rsplit('_', 1)[-1][:-4]} rows, median of 3", "SQLite", [
    ("open, binary form", ours["BM_OpenBinary"]["real_time"], peer["read_ms"]),
    ("open, structure form", ours["BM_OpenStructure"]["real_time"], peer["read_ms"]),
    ("save, binary form", ours["BM_SaveBinary"]["real_time"], peer["write_ms"]),
    ("save, structure form", ours["BM_SaveStructure"]["real_time"], peer["write_ms"])])
print(f"memory per entry after open: binary {ours['BM_OpenBinary']['bytes_per_entry']:.0f} bytes, "
      f"structure {ours['BM_OpenStructure']['bytes_per_entry']:.0f} bytes")
PY
