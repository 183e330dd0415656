#!/usr/bin/env bash
# JSON, side by side with Python's json module (loads/dumps, its C accelerator) on the same text:
# the W1 records (20,000 x 10 items) written as one-line JSON. Prints medians of 5 and ours/Python.
source "$(dirname "$0")/common.sh"
data=$(w1_ser)
build/rykel struct convert --from php --to json "$data" >"$OUT/w1.json"
RYKEL_QUIET=1 RYKEL_W1_FILE=$data "$OUT/bench_json" --benchmark_format=json \
  --benchmark_out="$OUT/json_rykel.json" --benchmark_out_format=json >/dev/null
$PY - "$OUT/w1.json" "$OUT/json_rykel.json" <<'PY'
import json, sys
from pairing import gbench, table, timed
text = open(sys.argv[1], encoding="utf-8").read()
ours = gbench(sys.argv[2])
doc = json.loads(text)
table("W1 as JSON, median of 5", "Python", [
    ("read", ours["BM_JsonRead"]["real_time"], timed(lambda: json.loads(text))),
    ("write", ours["BM_JsonWrite"]["real_time"],
     timed(lambda: json.dumps(doc, ensure_ascii=False, separators=(",", ":"))))])
print("our writer gives its own text back byte for byte:", "yes" if ours["BM_JsonWrite"]["identical"] else "no")
PY
