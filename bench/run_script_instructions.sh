#!/usr/bin/env bash
# Instructions per PARSE and per LOAD of bench_script's tree (10,000 records of ten fields), and per
# PHP unserialize of the same tree, counted by valgrind's callgrind: the figures that do not move
# with the machine's load. Only what runs inside the named call is counted, divided by its calls.
source "$(dirname "$0")/common.sh"
command -v valgrind >/dev/null || { echo "valgrind is not installed"; exit 1; }
[ -x "$OUT/bench_script" ] || { echo "build first: scripts/build build" >&2; exit 1; }
# per_call FILE FUNCTION [CALLS]: total instructions of the file divided by the calls of FUNCTION it
# saw (or by CALLS, for a function that calls itself)
per_call() {
  $PY - "$1" "$2" "${3:-0}" <<'PYEOF'
import sys
path, name, fixed = sys.argv[1], sys.argv[2], int(sys.argv[3])
total, calls, cfn = 0, 0, ""
for line in open(path, encoding="utf-8", errors="replace"):
    if line.startswith("cfn="):
        cfn = line
    elif line.startswith("calls=") and name in cfn:
        calls += int(line[6:].split()[0])
    elif line.startswith(("summary:", "totals:")):
        total = max(total, int(line.split()[1]))
calls = fixed or calls
if not total or not calls:
    sys.exit(f"{name}: nothing counted")
print(f"{total / calls / 1e6:8.1f} M instructions per call ({calls} calls)")
PYEOF
}
for op in Parse:PARSE Load:LOAD; do
  IFS=: read -r bm fn <<<"$op"
  RYKEL_QUIET=1 valgrind --tool=callgrind --compress-strings=no --callgrind-out-file="$OUT/script_$bm.callgrind" \
    --toggle-collect="rykel::cls_StructureManager::$fn(*" "$OUT/bench_script" --benchmark_filter="^BM_$bm\$" \
    --benchmark_min_time=0.01 >/dev/null 2>&1
  printf '%-16s' "$fn:"
  per_call "$OUT/script_$bm.callgrind" "mdl_StructureScript::Parse("
done
valgrind --tool=callgrind --compress-strings=no --callgrind-out-file="$OUT/script_php.callgrind" \
  --toggle-collect='php_unserialize_with_options' php -d memory_limit=1G bench/peer_script.php count 3 >/dev/null 2>&1
printf '%-16s' "php unserialize:"
per_call "$OUT/script_php.callgrind" "" 3
