#!/usr/bin/env bash
# JSON, side by side with Python's json module (loads/dumps, its C accelerator) on the same text:
# the W1 records (20,000 x 10 items) written as one-line JSON. Prints medians of 5 and ours/Python.
set -euo pipefail
cd "$(dirname "$0")/.."
peers=${RYKEL_PEERS:-/work/shared/peers}
out=build/bench
mkdir -p "$out"
data=$out/w1.ser
[ -s "$data" ] || php "$peers/w1/gen_w1.php" "$data" 2>/dev/null
build/rykel struct convert --from php --to json "$data" >"$out/w1.json"
RYKEL_QUIET=1 RYKEL_W1_FILE=$data "$out/bench_json" --benchmark_format=json \
  --benchmark_out="$out/json_rykel.json" --benchmark_out_format=json >/dev/null
/usr/bin/python3 - "$out/w1.json" "$out/json_rykel.json" <<'PY'
import json, statistics, sys, time
text = open(sys.argv[1], encoding="utf-8").read()
ours = {b["run_name"].split("/")[0]: b for b in json.load(open(sys.argv[2]))["benchmarks"]
        if b.get("aggregate_name") == "median"}


def median_ms(f):
    times = []
    for _ in range(5):
        t = time.perf_counter()
        f()
        times.append((time.perf_counter() - t) * 1000)
    return statistics.median(times)


doc = json.loads(text)
rows = [("read (ms)", ours["BM_JsonRead"]["real_time"], median_ms(lambda: json.loads(text))),
        ("write (ms)", ours["BM_JsonWrite"]["real_time"],
         median_ms(lambda: json.dumps(doc, ensure_ascii=False, separators=(",", ":"))))]
print(f"{'W1 as JSON, median of 5':24}{'RyKEL':>10}{'Python':>10}{'ours/Py':>10}")
for name, a, b in rows:
    print(f"{name:24}{a:10.1f}{b:10.1f}{a / b:10.2f}")
print("our writer gives its own text back byte for byte:", "yes" if ours["BM_JsonWrite"]["identical"] else "no")
PY
