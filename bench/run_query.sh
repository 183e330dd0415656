#!/usr/bin/env bash
# Queries, filters and sorting on the W3 rows, side by side with SQLite in memory; prints each
# case's medians and the ratio ours / SQLite. RYKEL_W3_ROWS picks a smaller run.
# Counts may differ where SQLite's upper() folds ASCII only ("müller" stays "MüLLER").
source "$(dirname "$0")/common.sh"
"$OUT/bench_query" "$(w3_csv)"
