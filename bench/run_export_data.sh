#!/usr/bin/env bash
# CSV export on the W3 rows, side by side with the sqlite3 shell: ours (EXPORT "csv" of a database
# in memory; and `rykel db export --format csv` as a whole process, streaming the entries from the binary file)
# against `sqlite3 -csv -header FILE 'SELECT * FROM person'` of the same rows imported into a file
# database (a whole process, its output redirected to a file). Fastest of RYKEL_BENCH_REPEAT runs
# (default 3), peak resident memory of each, and the ratios ours / sqlite3. RYKEL_W3_ROWS picks a
# smaller run.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
rows=${RYKEL_W3_ROWS:-1000000}
repeat=${RYKEL_BENCH_REPEAT:-3}
out=build/bench
mkdir -p "$out"
data=$out/w3_$rows.csv
[ -s "$data" ] || /usr/bin/python3 "$peers/w3/gen_w3.py" "$rows" "$data" 2>/dev/null
rm -f "$out/w3_export.sqlite"
sqlite3 "$out/w3_export.sqlite" \
  "CREATE TABLE person(id INTEGER PRIMARY KEY, FIRSTNAME TEXT, LASTNAME TEXT, STREET TEXT, PLZ TEXT, CITY TEXT,
   BIRTHDATE TEXT, SCORE REAL, ACTIVE INTEGER)" ".import --csv --skip 1 $data person"

# run NAME CMD...: "NAME seconds peak_kb", the program's stdout in $out/NAME.out
run() {
  local name=$1; shift
  /usr/bin/time -v "$@" >"$out/$name.out" 2>"$out/$name.time"
  local wall rss
  wall=$(sed -n 's/.*Elapsed (wall clock) time (h:mm:ss or m:ss): //p' "$out/$name.time" |
         awk -F: '{ s = 0; for (i = 1; i <= NF; i++) s = s * 60 + $i; print s }')
  rss=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$out/$name.time")
  echo "$name $wall $rss"
}

for ((i = 0; i < repeat; i++)); do
  echo "$(run ours_memory build/bench/bench_export_data "$data" "$out/w3_ours.csv" "$out/w3_export.ry-dbb") \
$(cat "$out/ours_memory.out")"
  run ours_program env RYKEL_QUIET=1 build/rykel db export "$out/w3_export.ry-dbb" --format csv --out "$out/w3_cli.csv" \
    --quiet
  run sqlite3 sh -c "sqlite3 -csv -header '$out/w3_export.sqlite' 'SELECT * FROM person' > '$out/w3_sqlite.csv'"
done >"$out/export_data_runs.txt"
[ "$(wc -l <"$out/w3_ours.csv")" = "$(wc -l <"$out/w3_sqlite.csv")" ] || { echo "row counts differ" >&2; exit 1; }
cmp -s "$out/w3_ours.csv" "$out/w3_cli.csv" || { echo "program and library exports differ" >&2; exit 1; }

awk -v rows="$rows" -v repeat="$repeat" '
  $1 == "ours_memory" { split($4, a, "="); split($5, b, "="); split($6, c, "=")
                        if (!("x" in e) || b[2] < e["x"]) { e["x"] = b[2]; e["mib"] = c[2] } }
  { if (!($1 in t) || $2 < t[$1]) { t[$1] = $2; m[$1] = $3 / 1024 } }
  END {
    printf "W3 CSV export, %d rows x 9 columns (fastest of %d runs)\n", rows, repeat
    printf "%-40s %9s %10s\n", "", "seconds", "peak MiB"
    printf "%-40s %9.2f %10.1f\n", "ours, EXPORT of the database in memory", e["x"] / 1000, e["mib"]
    printf "%-40s %9.2f %10.1f\n", "ours, rykel db export (streams the file)", t["ours_program"], m["ours_program"]
    printf "%-40s %9.2f %10.1f\n", "sqlite3 -csv -header (whole process)", t["sqlite3"], m["sqlite3"]
    printf "ratio ours/sqlite3: export %.2f, whole program %.2f (target <= 1.0)\n",
           e["x"] / 1000 / t["sqlite3"], t["ours_program"] / t["sqlite3"]
    printf "peak memory: the export added %.1f MiB; the program %.1f MiB (streaming the file) vs sqlite3 %.1f MiB\n",
           e["mib"], m["ours_program"], m["sqlite3"]
  }' "$out/export_data_runs.txt"
