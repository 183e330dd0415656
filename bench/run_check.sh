#!/usr/bin/env bash
# The template check beside Jinja2's parse (env.parse, which reads a template into its tree without
# running it), in one run: the W2 page (bench/kel_w2/table.kel against the peer's
# table_subscript.html), the demo's templates in one pass, and a 1 MB template of the W2 rows in
# nested conditions written once in each language. Both sides in process, medians of repeated runs;
# then `rykel check` as a program (start included) on the demo's templates and the 1 MB file.
source "$(dirname "$0")/common.sh"
# The 1 MB templates: groups of 20 sections of 20 rows (no KEL text holds more than 100 commands).
$PY - "$OUT/check_1mb.kel" "$OUT/check_1mb.html" <<'PYEOF'
import sys
kel_row = ('<tr class="{IF (row.active) {active} {inactive}}"><td>{VAR:row.name}</td><td>{VAR:row.city}</td>'
           '<td>{VAR:row.amount}</td></tr>\n')
jinja_row = ('<tr class="{% if row.active %}active{% else %}inactive{% endif %}"><td>{{ row.name }}</td>'
             '<td>{{ row.city }}</td><td>{{ row.amount }}</td></tr>\n')
def page(row, open_, close):
    section = open_ + row * 20 + close
    group = open_ + section * 20 + close
    text = ""
    while len(text) < 1 << 20:
        text += group
    return text
open(sys.argv[1], "w").write(page(kel_row, "{IF (show) {\n", "}}\n"))
open(sys.argv[2], "w").write(page(jinja_row, "{% if show %}\n", "{% endif %}\n"))
PYEOF
KEL_W2_DIR=bench/kel_w2 KEL_CHECK_BIG="$OUT/check_1mb.kel" RYKEL_QUIET=1 \
  "$OUT/bench_check" --benchmark_format=json --benchmark_out="$OUT/check.json" --benchmark_out_format=json \
  --benchmark_repetitions=5 >/dev/null
$PY - "$PEERS/w2" "$OUT" <<'PYEOF'
import glob, json, os, statistics, subprocess, sys, time
import jinja2
from pairing import gbench, timed
peer, out = sys.argv[1], sys.argv[2]
env = jinja2.Environment(autoescape=False)
def parse_us(source, rounds):
    return timed(lambda: env.parse(source), rounds) * 1e3
w2 = open(os.path.join(peer, "templates", "table_subscript.html"), encoding="utf-8").read()
big = open(os.path.join(out, "check_1mb.html"), encoding="utf-8").read()
jinja_w2 = parse_us(w2, 501)
jinja_big = parse_us(big, 5)
res = gbench(os.path.join(out, "check.json"))
def median_us(name):
    b = res[name]
    scale = {"ns": 1e-3, "us": 1, "ms": 1e3}[b["time_unit"]]
    return b["real_time"] * scale
kel_w2, kel_demo, kel_big = median_us("CHECK_W2"), median_us("CHECK_Demo"), median_us("CHECK_Big")
demo = [f for f in glob.glob("examples/site/**/*.kel", recursive=True) + glob.glob("examples/report/**/*.kel", recursive=True)
        if not f.endswith("broken.kel")]
print(f"W2 page          KEL check {kel_w2:9.1f} us   Jinja2 parse {jinja_w2:9.1f} us   ratio {kel_w2 / jinja_w2:5.2f}")
print(f"demo, {len(demo)} files   KEL check {kel_demo:9.1f} us   Jinja2 parse of the W2 page {jinja_w2:9.1f} us   ratio {kel_demo / jinja_w2:5.2f}")
print(f"1 MB template    KEL check {kel_big / 1e3:9.2f} ms   Jinja2 parse {jinja_big / 1e3:9.2f} ms   ratio {kel_big / jinja_big:5.2f}"
      f"   ({len(open(os.path.join(out, 'check_1mb.kel'), 'rb').read()) >> 10} KiB / {len(big.encode()) >> 10} KiB)")
def program_ms(args):
    times = []
    for _ in range(5):
        t0 = time.perf_counter_ns()
        r = subprocess.run(["build/rykel", "check", *args], capture_output=True, env={**os.environ, "RYKEL_QUIET": "1"})
        times.append((time.perf_counter_ns() - t0) / 1e6)
        if r.returncode != 0:
            sys.exit("rykel check found something: " + r.stdout.decode()[:300])
    return statistics.median(times)
site = [f for f in demo if f.startswith("examples/site")]
report = [f for f in demo if f.startswith("examples/report")]
print(f"rykel check (the program, start included): demo {program_ms(['-d', 'examples/site', *site]) + program_ms(['-d', 'examples/report', *report]):.1f} ms"
      f" in two runs, 1 MB {program_ms([os.path.join(out, 'check_1mb.kel')]):.1f} ms")
PYEOF
