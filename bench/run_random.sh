#!/usr/bin/env bash
# Random person records side by side: ours (bench_random) and @faker-js/faker with the German
# locale (peers/node/bench_w4.mjs), 1,000,000 records each, median of 3 runs; prints ours/faker.
source "$(dirname "$0")/common.sh"
runs=3

ours_json=$("$OUT/bench_random" --benchmark_filter='PersonRecords' \
  --benchmark_repetitions=$runs --benchmark_report_aggregates_only=true --benchmark_format=json 2>/dev/null)

if [ ! -d "$PEERS/node/node_modules" ]; then
  (cd "$PEERS/node" && npm ci --silent >/dev/null)
fi
faker_line=$(cd "$PEERS" && node node/bench_w4.mjs 1000000 $runs)

$PY - "$ours_json" "$faker_line" <<'PY'
import json, re, sys
ours = json.loads(sys.argv[1])
faker = re.search(r"median (\d+(?:\.\d+)?) ms", sys.argv[2])
faker_ms = float(faker.group(1))
print(sys.argv[2])
for b in ours["benchmarks"]:
    if b.get("aggregate_name") != "median":
        continue
    ms = b["real_time"]
    name = b["run_name"].split("/")[0]
    print(f"ours {name}: 1000000 records, median {ms:.0f} ms  ratio ours/faker = {ms / faker_ms:.4f}"
          f"  ({faker_ms / ms:.0f}x faster; target <= 0.05)")
PY
