#!/usr/bin/env bash
# Structures against PHP 8 arrays, side by side: build and read 100,000 named items (flat and as
# 3-level dotted paths), memory per item, and 1,000,000 nodes through handles. The two programs run
# in turn RUNS times (default 5) and each line keeps its best time, so that a moment of load on a
# shared machine does not decide the ratio. Usage: bench/run_structure.sh [ITEMS]
set -euo pipefail
cd "$(dirname "$0")/.."
n=${1:-100000}
runs=${RUNS:-5}
ours=() peer=()
for ((r = 0; r < runs; ++r)); do
  ours+=("$(build/bench/bench_structure "$n")")
  peer+=("$(php bench/peer_structure.php "$n")")
done
/usr/bin/python3 - "$runs" "${ours[@]}" "${peer[@]}" <<'PY'
import sys
runs = int(sys.argv[1])
def parse(t):
    return {l.split()[0]: [float(x) for x in l.split()[1:]] for l in t.strip().splitlines()}
def best(texts):
    out = {}
    for t in map(parse, texts):
        for k, v in t.items():
            out[k] = v if k not in out else [min(out[k][0], v[0])] + v[1:]
    return out
ours, php = best(sys.argv[2:2 + runs]), best(sys.argv[2 + runs:])
print(f"{'measurement':<14}{'RyKEL s':>10}{'PHP s':>10}{'ratio':>8}   bytes/item RyKEL / PHP   (best of {runs} runs each)")
for k in ours:
    r = ours[k][0] / php[k][0]
    mem = f"   {ours[k][1]:.0f} / {php[k][1]:.0f} ({ours[k][1] / php[k][1]:.2f}x)" if len(ours[k]) > 1 else ""
    print(f"{k:<14}{ours[k][0]:>10.4f}{php[k][0]:>10.4f}{r:>8.2f}{mem}")
PY
