#!/usr/bin/env bash
# CSV import, side by side with SQLite on the same W3 rows (id and 8 fields; the peer's generator
# writes them): `rykel db import` of the CSV into a new database file (fields and types inferred,
# saved once) against the sqlite3 shell's `.import --csv` into an in-memory table. Prints medians
# of 3, ours/SQLite and the peak memory of each. RYKEL_W3_ROWS picks a smaller run.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
rows=${RYKEL_W3_ROWS:-1000000}
out=build/bench
mkdir -p "$out"
data=$out/w3_$rows.csv
[ -s "$data" ] || /usr/bin/python3 "$peers/w3/gen_w3.py" "$rows" "$data" 2>/dev/null
/usr/bin/python3 - "$data" "$rows" "$out" <<'PY'
import os, resource, statistics, subprocess, sys, time
data, rows, out = sys.argv[1], sys.argv[2], sys.argv[3]
db = os.path.join(out, "w3_import.ry-dbb")

def run(cmd):
    """Wall time in ms and peak resident memory in MB of one run of cmd."""
    t0 = time.perf_counter()
    pid = os.fork()
    if pid == 0:
        devnull = os.open(os.devnull, os.O_WRONLY)
        os.dup2(devnull, 1)
        os.execvp(cmd[0], cmd)
    _, status, usage = os.wait4(pid, 0)
    ms = (time.perf_counter() - t0) * 1000
    if status != 0:
        sys.exit(f"{cmd[0]} failed")
    return ms, usage.ru_maxrss / 1024

ours, peer = [], []
for _ in range(3):
    for f in (db, db.replace(".ry-dbb", ".header"), db + ".lock"):
        if os.path.exists(f): os.remove(f)
    ours.append(run(["build/rykel", "db", "import", db, data, "--quiet"]))
    peer.append(run(["sqlite3", ":memory:", f".import --csv {data} w3"]))
a, b = statistics.median(m for m, _ in ours), statistics.median(m for m, _ in peer)
print(f"{'W3 ' + rows + ' rows CSV import, median of 3':44}{'RyKEL ms':>10}{'SQLite ms':>10}{'ours/SQLite':>12}")
print(f"{'db import (new file) vs .import --csv :memory:':44}{a:10.0f}{b:10.0f}{a / b:12.2f}")
print(f"peak memory: RyKEL {max(m for _, m in ours):.0f} MB, SQLite {max(m for _, m in peer):.0f} MB")
PY
