#!/usr/bin/env bash
# Serialized text, side by side with PHP's unserialize()/serialize() on the same W1 file
# (20,000 records x 10 items, made by the peer's generator). Prints medians of 5 and ours/PHP.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
out=build/bench
mkdir -p "$out"
data=$out/w1.ser
[ -s "$data" ] || php "$peers/w1/gen_w1.php" "$data" 2>/dev/null
php "$peers/w1/bench_w1.php" "$data" 5 "$out/w1_php.json" >/dev/null
RYKEL_QUIET=1 RYKEL_W1_FILE=$data "$out/bench_serialized" --benchmark_format=json \
  --benchmark_out="$out/w1_rykel.json" --benchmark_out_format=json >/dev/null
/usr/bin/python3 - "$out/w1_php.json" "$out/w1_rykel.json" <<'PY'
import json, sys
php = json.load(open(sys.argv[1]))
ours = {b["run_name"].split("/")[0]: b for b in json.load(open(sys.argv[2]))["benchmarks"]
        if b.get("aggregate_name") == "median"}
u, s = ours["BM_Unserialize"], ours["BM_Serialize"]
rows = [
    ("unserialize (ms)", u["real_time"], php["unserialize_ms_median"]),
    ("serialize (ms)", s["real_time"], php["serialize_ms_median"]),
    ("memory (bytes/leaf)", u["bytes_per_leaf"], php["mem_bytes_per_leaf"]),
]
print(f"{'W1, median of 5':24}{'RyKEL':>10}{'PHP':>10}{'ours/PHP':>10}")
for name, a, b in rows:
    print(f"{name:24}{a:10.1f}{b:10.1f}{a / b:10.2f}")
print("our SERIALIZE gives the file back byte for byte:", "yes" if s["identical"] else
      "no (names are stored upper-case and numbered keys are written as s:0:\"\")")
PY
