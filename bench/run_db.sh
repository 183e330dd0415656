#!/usr/bin/env bash
# Database files, side by side with SQLite on the same W3 rows (id and 8 fields; the peer's
# generator writes them): our open and save in the binary and the structure form against SQLite
# reading every row of a file database (SELECT *, fetchall) and writing them (one transaction).
# Prints medians of 3, ours/SQLite, and memory per entry. RYKEL_W3_ROWS picks a smaller run.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
rows=${RYKEL_W3_ROWS:-1000000}
out=build/bench
mkdir -p "$out"
data=$out/w3_$rows.csv
[ -s "$data" ] || /usr/bin/python3 "$peers/w3/gen_w3.py" "$rows" "$data" 2>/dev/null
/usr/bin/python3 - "$data" "$out/w3_sqlite.json" <<'PY'
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
RYKEL_QUIET=1 RYKEL_W3_FILE=$data RYKEL_BENCH_DIR=$out "$out/bench_db" --benchmark_format=json \
  --benchmark_out="$out/w3_rykel.json" --benchmark_out_format=json >/dev/null
/usr/bin/python3 - "$out/w3_sqlite.json" "$out/w3_rykel.json" "$rows" <<'PY'
import json, sys
peer = json.load(open(sys.argv[1]))
ours = {b["run_name"].split("/")[0]: b for b in json.load(open(sys.argv[2]))["benchmarks"]
        if b.get("aggregate_name") == "median"}
print(f"{'W3 ' + sys.argv[3] + ' rows, median of 3':34}{'RyKEL ms':>10}{'SQLite ms':>10}{'ours/SQLite':>12}")
for name, key, peer_key in [("open, binary form", "BM_OpenBinary", "read_ms"),
                            ("open, structure form", "BM_OpenStructure", "read_ms"),
                            ("save, binary form", "BM_SaveBinary", "write_ms"),
                            ("save, structure form", "BM_SaveStructure", "write_ms")]:
    a, b = ours[key]["real_time"], peer[peer_key]
    print(f"{name:34}{a:10.0f}{b:10.0f}{a / b:12.2f}")
print(f"memory per entry after open: binary {ours['BM_OpenBinary']['bytes_per_entry']:.0f} bytes, "
      f"structure {ours['BM_OpenStructure']['bytes_per_entry']:.0f} bytes")
PY
