#!/usr/bin/env bash
# Workbook export side by side on the W5 rows (100,000 x 8): `rykel db export --format xlsx` of
# the rows saved as a database file, and our built-in writer (EXPORTEXCEL, constant-memory from
# 50,000 rows) on the database built in memory, against the plain C program on libxlsxwriter (both
# modes) and openpyxl write-only. Each is one process under /usr/bin/time -v: wall time and peak RSS, with
# ratios ours/peer. Ours also reports the export alone (without building the database in memory)
# and the memory the export itself added (the database of 100,000 entries is resident before it;
# the C program holds no data). Then the HTML path on the same rows. Every program runs
# RYKEL_BENCH_REPEAT times (default 3), interleaved, and the fastest run counts, so a busy machine
# skews the ratios less. RYKEL_W5_ROWS picks a smaller run.
source "$(dirname "$0")/common.sh"
rows=${RYKEL_W5_ROWS:-100000}
repeat=${RYKEL_BENCH_REPEAT:-3}
gcc -O2 -o "$OUT/xlsx_c" "$PEERS/w5/xlsx_c.c" $(pkg-config --cflags --libs xlsxwriter)

# The same rows as a database file, for `rykel db export` as a whole process (it streams the
# entries from the file into the writer).
build/bench/bench_export db "$OUT/w5.ry-dbb" "$rows"

# Our runs also print "export_ms=... export_mib=...": kept per run next to the time.
for ((i = 0; i < repeat; i++)); do
  run rykel_program build/rykel db export "$OUT/w5.ry-dbb" --format xlsx --out "$OUT/w5_program.xlsx" --quiet
  echo "$(run rykel_xlsx build/bench/bench_export xlsx "$OUT/w5_rykel.xlsx" "$rows") $(cat "$OUT/rykel_xlsx.out")"
  run c_normal "$OUT/xlsx_c" "$OUT/w5_c_normal.xlsx" normal "$rows"
  run c_constant "$OUT/xlsx_c" "$OUT/w5_c_constant.xlsx" constant "$rows"
  run openpyxl $PY "$PEERS/w5/xlsx_openpyxl.py" "$OUT/w5_openpyxl.xlsx" "$rows"
  echo "$(run rykel_htm build/bench/bench_export htm "$OUT/w5_rykel.htm" "$rows") $(cat "$OUT/rykel_htm.out")"
done >"$OUT/export_runs.txt"

awk -v rows="$rows" -v repeat="$repeat" '
  {
    if (!($1 in t) || $2 < t[$1]) { t[$1] = $2; m[$1] = $3 / 1024; extra[$1] = $4 " " $5 " " $6 }
  }
  END {
    printf "W5 export, %d rows x 8 fields (whole process, fastest of %d runs)\n", rows, repeat
    printf "%-28s %8s %10s\n", "program", "seconds", "peak MiB"
    n = split("rykel_program rykel_xlsx c_normal c_constant openpyxl rykel_htm", k, " ")
    for (i = 1; i <= n; i++) printf "%-28s %8.2f %10.1f\n", k[i], t[k[i]], m[k[i]]
    printf "ours (xlsx) %s\n", extra["rykel_xlsx"]
    printf "ours (htm)  %s\n", extra["rykel_htm"]
    split(extra["rykel_xlsx"], f, /[ =]/); own = f[6]
    printf "rykel db export (streams the file) / C constant: time %.2f (target <= 1.3), peak memory %.2f (target <= 2)\n",
           t["rykel_program"] / t["c_constant"], m["rykel_program"] / m["c_constant"]
    printf "time ratio ours/libxlsxwriter C constant: %.2f   ours/C normal: %.2f   ours/openpyxl: %.2f\n",
           t["rykel_xlsx"] / t["c_constant"], t["rykel_xlsx"] / t["c_normal"], t["rykel_xlsx"] / t["openpyxl"]
    printf "openpyxl write-only / ours (speed-up): %.2f\n", t["openpyxl"] / t["rykel_xlsx"]
    printf "peak RSS ratio ours/C constant: %.2f   ours/openpyxl: %.2f (whole process, database resident)\n",
           m["rykel_xlsx"] / m["c_constant"], m["rykel_xlsx"] / m["openpyxl"]
    printf "memory the export added / C constant peak: %.2f\n", own / m["c_constant"]
    printf "HTML path time / xlsx path time: %.2f\n", t["rykel_htm"] / t["rykel_xlsx"]
  }' "$OUT/export_runs.txt"

# The LibreOffice Calc path of EXPORTEXCEL on the same rows (office start, transfer, formatting and
# the office's own .xlsx writer) against the built-in writer above.
if command -v soffice >/dev/null; then
  run rykel_calc build/bench/bench_export calc "$OUT/w5_calc.xlsx" "$rows" >"$OUT/export_calc.txt"
  awk -v rows="$rows" -v co="$(cat "$OUT/rykel_calc.out")" -v xo="$(cat "$OUT/rykel_xlsx.out")" '
    FNR == NR { t[$1] = $2; m[$1] = $3 / 1024; next }
    { t[$1] = $2; m[$1] = $3 / 1024 }
    END {
      split(co, c, /[= ]/); split(xo, x, /[= ]/)
      printf "\nEXPORTEXCEL through LibreOffice Calc, %d rows x 8 fields\n", rows
      printf "%-28s %8.2f %10.1f   (%s)\n", "rykel_calc", t["rykel_calc"], m["rykel_calc"], co
      printf "time ratio Calc path / built-in writer: whole process %.2f   export alone %.2f\n",
             t["rykel_calc"] / t["rykel_xlsx"], c[4] / x[4]
    }' "$OUT/export_runs.txt" "$OUT/export_calc.txt"
else
  echo "LibreOffice Calc is not installed: the Calc path is not timed (scripts/setup installs it)"
fi
