#!/usr/bin/env bash
# Instructions per page and per command of bench_kel's cases, counted by valgrind's callgrind: the
# figure that does not move with the machine's load. Everything inside cls_KEL::PROCESS is counted
# and divided by the pages it rendered (the warm-up page included); the flat template is reported
# per command, the 10,000-row pages per row. Needs the W2 rows that bench/run_kel.sh makes.
source "$(dirname "$0")/common.sh"
command -v valgrind >/dev/null || { echo "valgrind is not installed"; exit 1; }
[ -s "$OUT/w2_rows.tsv" ] || { echo "no $OUT/w2_rows.tsv: run bench/run_kel.sh once first"; exit 1; }
for entry in KEL_Flat100:100:command KEL_W2:10000:row KEL_IfChain:10000:row KEL_Switch:10000:row; do
  IFS=: read -r name units unit <<<"$entry"
  KEL_W2_DIR=bench/kel_w2 KEL_W2_ROWS="$OUT/w2_rows.tsv" RYKEL_QUIET=1 \
    valgrind --tool=callgrind --compress-strings=no --callgrind-out-file="$OUT/$name.callgrind" \
    --toggle-collect='rykel::cls_KEL::PROCESS*' "$OUT/bench_kel" --benchmark_filter="^$name(/|\$)" \
    --benchmark_min_time=0.2 >/dev/null 2>&1
  $PY - "$OUT/$name.callgrind" "$name" "$units" "$unit" <<'PYEOF'
import sys
path, name, units, unit = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4]
total, pages, fn, cfn = 0, 0, "", ""
for line in open(path, encoding="utf-8", errors="replace"):
    if line.startswith("fn="):
        fn = line
    elif line.startswith("cfn="):
        cfn = line
    elif line.startswith("calls=") and "cls_KEL::PROCESS" in fn and "cls_KELFrontEnd::Process(" in cfn:
        pages += int(line[6:].split()[0])  # the front end runs once per page
    elif line.startswith(("summary:", "totals:")):
        total = max(total, int(line.split()[1]))
if not total or not pages:
    sys.exit(f"{name}: nothing counted (did the case run?)")
print(f"{name:12s} {pages:5d} pages {total / pages / 1e6:9.3f} M instructions per page "
      f"{total / pages / units:8.1f} per {unit}")
PYEOF
done
