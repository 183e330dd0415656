#!/usr/bin/env bash
# LOAD / PARSE of the script form against a reference point: PHP's unserialize of the same tree
# (10,000 records of ten fields, 100,000 values). There is no peer for the script form itself;
# the ratio says how reading our human-readable form compares with PHP's native reader.
# Both sides report CPU time, so that other work on the machine does not skew the ratio.
set -euo pipefail
cd "$(dirname "$0")/.."
bin=build/bench/bench_script
[ -x "$bin" ] || { echo "build first: scripts/build build" >&2; exit 1; }
ours=$("$bin" --benchmark_filter='BM_(Parse|Load|Script|Save)$' --benchmark_format=json --benchmark_min_time=1 2>/dev/null |
  /usr/bin/python3 -c '
import json, sys
d = json.load(sys.stdin)
print(" ".join("%s=%.3f" % (b["name"], b["cpu_time"]) for b in d["benchmarks"]))')
php_ms=$(php -d memory_limit=1G bench/peer_script.php time)
echo "script form, 100,000 values (CPU ms per run): $ours"
echo "php unserialize of the same tree: ${php_ms} CPU ms"
/usr/bin/python3 - "$ours" "$php_ms" <<'PY'
import sys
ours = dict(kv.split("=") for kv in sys.argv[1].split())
php = float(sys.argv[2])
for name in ("BM_Parse", "BM_Load"):
    print("%-9s / php unserialize: %.2fx the time" % (name, float(ours[name]) / php))
PY
