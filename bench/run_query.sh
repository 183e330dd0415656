#!/usr/bin/env bash
# Queries, filters and sorting on the W3 rows, side by side with SQLite in memory; prints each
# case's medians and the ratio ours / SQLite. RYKEL_W3_ROWS picks a smaller run.
# Counts may differ where SQLite's upper() folds ASCII only ("müller" stays "MüLLER").
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
rows=${RYKEL_W3_ROWS:-1000000}
out=build/bench
mkdir -p "$out"
data=$out/w3_$rows.csv
[ -s "$data" ] || /usr/bin/python3 "$peers/w3/gen_w3.py" "$rows" "$data" 2>/dev/null
"$out/bench_query" "$data"
