#!/usr/bin/env bash
# The database browser under load: 2,000 requests from 8 concurrent clients against the facet API
# of a database of 100,000 random contacts (RYKEL_SERVE_DB_ENTRIES), p50/p99 latency and errors
# (target: no errors, p99 under 50 ms), through `rykel serve` on loopback; the same load on
# cls_DBBrowser in process (no HTTP) beside it; and one facet counted anew on the whole table
# beside SQLite's GROUP BY count of the same field. Bounded: the server is stopped at the end and
# after 300 s at most; each request times out after 10 s.
source "$(dirname "$0")/common.sh"
entries=${RYKEL_SERVE_DB_ENTRIES:-100000}
dir=$OUT/serve_db
db=$dir/contacts.ry-dbb
if [ ! -s "$db" ] || [ "$(build/rykel db info "$db" | sed -n 's/^Entries: //p')" != "$entries" ]; then
  PYTHONPATH=build/python $PY examples/python/contacts.py "$dir" "$entries" >"$dir/contacts.txt"
  head -1 "$dir/contacts.txt"
fi
export PYTHONPATH=build/python:$PYTHONPATH RYKEL_QUIET=1

echo "== in process: cls_DBBrowser.HANDLE from 8 threads"
$PY bench/serve_db_load.py "inprocess:$db" 2000 8 || echo "(errors in process)"

echo "== over HTTP: rykel serve on 127.0.0.1"
if build/rykel serve --help >/dev/null 2>&1; then
  port=$((20000 + RANDOM % 20000))
  site=$dir/site
  mkdir -p "$site/pages"
  [ -f "$site/pages/index.kel" ] || echo "contacts" >"$site/pages/index.kel"
  timeout 300 build/rykel serve -d "$site" --db "contacts=$db" --port "$port" >"$dir/serve.log" 2>&1 &
  server=$!
  trap 'kill $server 2>/dev/null || true' EXIT
  for _ in $(seq 100); do
    $PY -c "import socket,sys; socket.create_connection(('127.0.0.1', $port), 1)" 2>/dev/null && break
    sleep 0.1
  done
  $PY bench/serve_db_load.py "http://127.0.0.1:$port" 2000 8 || echo "(errors over HTTP)"
  kill "$server" 2>/dev/null || true
  wait "$server" 2>/dev/null || true
else
  echo "(this rykel has no serve command)"
fi

echo "== one facet counted anew, whole table: cls_DB.FIELDFACETS beside SQLite's GROUP BY (medians)"
$PY - "$db" <<'PYEOF'
import sqlite3, statistics, sys, time
import rykel
db = rykel.cls_DB()
db.DBOPEN(sys.argv[1], "", True)
rows = [(db.FIELDTEXT_GET(i, "NACHNAME"), db.FIELDTEXT_GET(i, "ORT")) for i in db.ENTRYALL_IDS()]
con = sqlite3.connect(":memory:")
con.execute("CREATE TABLE c (nachname TEXT, ort TEXT)")
con.executemany("INSERT INTO c VALUES (?, ?)", rows)
con.execute("CREATE INDEX c_n ON c (nachname)")
con.execute("CREATE INDEX c_o ON c (ort)")
def median_ms(f, n):
    times = []
    for _ in range(n):
        t = time.perf_counter()
        f()
        times.append(time.perf_counter() - t)
    return statistics.median(times) * 1000
for field, sql in (("NACHNAME", "SELECT upper(substr(nachname, 1, 1)), count(*) FROM c GROUP BY 1"),
                   ("ORT", "SELECT ort, count(*) FROM c GROUP BY ort")):
    ours = median_ms(lambda: db.FIELDFACETS(field), 5)
    peer = median_ms(lambda: con.execute(sql).fetchall(), 5)
    print(f"{field:<9} rykel FIELDFACETS {ours:8.1f} ms   SQLite GROUP BY {peer:8.1f} ms   ratio {ours / peer:5.2f}"
          f"   ({len(rows)} entries)")
PYEOF
