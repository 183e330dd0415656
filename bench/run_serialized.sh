#!/usr/bin/env bash
# Serialized text, side by side with PHP's unserialize()/serialize() on the same W1 file
# (20,000 records x 10 items, made by the peer's generator). Prints medians of 5 and ours/PHP.
source "$(dirname "$0")/common.sh"
data=$(w1_ser)
php "$PEERS/w1/bench_w1.php" "$data" 5 "$OUT/w1_php.json" >/dev/null
RYKEL_QUIET=1 RYKEL_W1_FILE=$data "$OUT/bench_serialized" --benchmark_format=json \
  --benchmark_out="$OUT/w1_rykel.json" --benchmark_out_format=json >/dev/null
$PY - "$OUT/w1_php.json" "$OUT/w1_rykel.json" <<'PY'
import json, sys
from pairing import gbench, table
php, ours = json.load(open(sys.argv[1])), gbench(sys.argv[2])
u, s = ours["BM_Unserialize"], ours["BM_Serialize"]
table("W1, median of 5", "PHP", [
    ("unserialize", u["real_time"], php["unserialize_ms_median"]),
    ("serialize", s["real_time"], php["serialize_ms_median"])])
print(f"memory: {u['bytes_per_leaf']:.1f} bytes per leaf, PHP {php['mem_bytes_per_leaf']:.1f} "
      f"(ours/PHP {u['bytes_per_leaf'] / php['mem_bytes_per_leaf']:.2f})")
print("our SERIALIZE gives the file back byte for byte:", "yes" if s["identical"] else
      "no (names are stored upper-case and numbered keys are written as s:0:\"\")")
PY
