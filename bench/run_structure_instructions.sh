#!/usr/bin/env bash
# Instructions per operation of bench/run_structure.sh's measurements, for RyKEL and PHP side by
# side, counted by valgrind's callgrind: the figure that does not move with the machine's load.
# Each measurement runs on its own; the setup (keys, one build for a read) is counted apart and
# taken off. Usage: bench/run_structure_instructions.sh [ITEMS] (default 20,000).
source "$(dirname "$0")/common.sh"
command -v valgrind >/dev/null || { echo "valgrind is not installed"; exit 1; }
n=${1:-20000}
count() {  # count NAME COMMAND...: total instructions of one run
  local file="$OUT/structure_$1.callgrind"
  shift
  valgrind --tool=callgrind --callgrind-out-file="$file" "$@" >/dev/null 2>&1
  sed -n 's/^summary: \([0-9]*\).*/\1/p;s/^totals: \([0-9]*\).*/\1/p' "$file" | head -1
}
declare -A ours php
for m in none flat_build flat_read paths_build paths_read handles_1M; do
  ours[$m]=$(count "rykel_$m" build/bench/bench_structure "$n" "$m")
  php[$m]=$(count "php_$m" php bench/peer_structure.php "$n" "$m")
done
$PY - "$n" "${ours[none]} ${ours[flat_build]} ${ours[flat_read]} ${ours[paths_build]} ${ours[paths_read]} ${ours[handles_1M]}" \
  "${php[none]} ${php[flat_build]} ${php[flat_read]} ${php[paths_build]} ${php[paths_read]} ${php[handles_1M]}" <<'PY'
import sys
n = int(sys.argv[1])
def per_op(t):
    none, fb, fr, pb, pr, h = (int(x) for x in t.split())
    build = lambda b: (b - none) / (5 * n)          # five builds
    read = lambda r, b: (r - none - (b - none) / 5) / (5 * n)  # one build, five reads
    return {"flat_build": build(fb), "flat_read": read(fr, fb), "paths_build": build(pb),
            "paths_read": read(pr, pb), "handles_1M": (h - none) / 3e6}
ours, php = per_op(sys.argv[2]), per_op(sys.argv[3])
print(f"{'measurement':<14}{'RyKEL':>10}{'PHP':>10}{'ratio':>8}   instructions per item / handle")
for k in ours:
    print(f"{k:<14}{ours[k]:>10.0f}{php[k]:>10.0f}{ours[k] / php[k]:>8.2f}")
PY
