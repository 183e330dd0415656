#!/usr/bin/env bash
# CSV export on the W3 rows, side by side with the sqlite3 shell: ours (EXPORT "csv" of a database
# in memory; and `rykel db export --format csv` as a whole process, streaming the entries from the binary file)
# against `sqlite3 -csv -header FILE 'SELECT * FROM person'` of the same rows imported into a file
# database (a whole process, its output redirected to a file). Fastest of RYKEL_BENCH_REPEAT runs
# (default 3), peak resident memory of each, and the ratios ours / sqlite3. Then the same export
# sorted by last and first name: `rykel db export --sort LASTNAME --then FIRSTNAME` streamed from
# the file through a list of record offsets, the same sort by display text ("&"), which loads the
# whole database (a text field's display text is its value, so the output is the same), and
# sqlite3 with ORDER BY. RYKEL_W3_ROWS picks a smaller run.
source "$(dirname "$0")/common.sh"
rows=${RYKEL_W3_ROWS:-1000000}
repeat=${RYKEL_BENCH_REPEAT:-3}
data=$(w3_csv "$rows")
rm -f "$OUT/w3_export.sqlite"
sqlite3 "$OUT/w3_export.sqlite" \
  "CREATE TABLE person(id INTEGER PRIMARY KEY, FIRSTNAME TEXT, LASTNAME TEXT, STREET TEXT, PLZ TEXT, CITY TEXT,
   BIRTHDATE TEXT, SCORE REAL, ACTIVE INTEGER)" ".import --csv --skip 1 $data person"

for ((i = 0; i < repeat; i++)); do
  echo "$(run ours_memory build/bench/bench_export_data "$data" "$OUT/w3_ours.csv" "$OUT/w3_export.ry-dbb") \
$(cat "$OUT/ours_memory.out")"
  run ours_program env RYKEL_QUIET=1 build/rykel db export "$OUT/w3_export.ry-dbb" --format csv --out "$OUT/w3_cli.csv" \
    --quiet
  run sqlite3 sh -c "sqlite3 -csv -header '$OUT/w3_export.sqlite' 'SELECT * FROM person' > '$OUT/w3_sqlite.csv'"
  run sorted_streamed build/rykel db export "$OUT/w3_export.ry-dbb" --format csv --out "$OUT/w3_sorted_streamed.csv" \
    --quiet --sort LASTNAME --then FIRSTNAME
  run sorted_loaded build/rykel db export "$OUT/w3_export.ry-dbb" --format csv --out "$OUT/w3_sorted_loaded.csv" \
    --quiet --sort '&LASTNAME' --then '&FIRSTNAME'
  run sorted_sqlite3 sh -c "sqlite3 -csv -header '$OUT/w3_export.sqlite' \
    'SELECT * FROM person ORDER BY LASTNAME, FIRSTNAME' > '$OUT/w3_sorted_sqlite.csv'"
done >"$OUT/export_data_runs.txt"
[ "$(wc -l <"$OUT/w3_ours.csv")" = "$(wc -l <"$OUT/w3_sqlite.csv")" ] || { echo "row counts differ" >&2; exit 1; }
cmp -s "$OUT/w3_ours.csv" "$OUT/w3_cli.csv" || { echo "program and library exports differ" >&2; exit 1; }
cmp -s "$OUT/w3_sorted_streamed.csv" "$OUT/w3_sorted_loaded.csv" || { echo "sorted exports differ" >&2; exit 1; }

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
    printf "\nsorted by LASTNAME, FIRSTNAME\n"
    printf "%-40s %9.2f %10.1f\n", "ours, streamed (first pass: keys, offsets)", t["sorted_streamed"], m["sorted_streamed"]
    printf "%-40s %9.2f %10.1f\n", "ours, the whole database loaded", t["sorted_loaded"], m["sorted_loaded"]
    printf "%-40s %9.2f %10.1f\n", "sqlite3 -csv ... ORDER BY", t["sorted_sqlite3"], m["sorted_sqlite3"]
    printf "ratio streamed/sqlite3: time %.2f, peak memory %.2f; streamed/loaded: time %.2f, peak memory %.2f\n",
           t["sorted_streamed"] / t["sorted_sqlite3"], m["sorted_streamed"] / m["sorted_sqlite3"],
           t["sorted_streamed"] / t["sorted_loaded"], m["sorted_streamed"] / m["sorted_loaded"]
  }' "$OUT/export_data_runs.txt"
