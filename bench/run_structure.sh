#!/usr/bin/env bash
# Structures against PHP 8 arrays, side by side in one run: build and read 100,000 named items
# (flat and as 3-level dotted paths), memory per item, and 1,000,000 nodes through handles.
set -euo pipefail
cd "$(dirname "$0")/.."
n=${1:-100000}
ours=$(build/bench/bench_structure "$n")
peer=$(php bench/peer_structure.php "$n")
/usr/bin/python3 - "$ours" "$peer" <<'PY'
import sys
def parse(t):
    return {l.split()[0]: [float(x) for x in l.split()[1:]] for l in t.strip().splitlines()}
ours, php = parse(sys.argv[1]), parse(sys.argv[2])
print(f"{'measurement':<14}{'RyKEL s':>10}{'PHP s':>10}{'ratio':>8}   bytes/item RyKEL / PHP")
for k in ours:
    r = ours[k][0] / php[k][0]
    mem = f"   {ours[k][1]:.0f} / {php[k][1]:.0f} ({ours[k][1] / php[k][1]:.2f}x)" if len(ours[k]) > 1 else ""
    print(f"{k:<14}{ours[k][0]:>10.4f}{php[k][0]:>10.4f}{r:>8.2f}{mem}")
PY
