#!/usr/bin/env bash
# KEL side by side with Jinja2 and ctemplate: the W2 page (10,000-row table, three substitutions and an
# if/else per row, a header include) rendered by bench_kel, by Jinja2 in its fastest form
# (table_subscript.html, autoescape off, compiled once) and by ctemplate, a compiled C++ engine
# (bench/ctemplate_w2: its expand time from a dictionary built beforehand; built when Debian's
# libctemplate-dev is installed), in one run; checks that all give the same HTML and prints the ratios
# of wall time and of CPU time (the steadier one on a loaded machine).
# The same with autoescape on both sides (KEL's SYS.AUTOESCAPE, Jinja2's autoescape=True).
# Also prints commands per second for a flat 100-command template and the 1 MB text rate, and the
# 10,000-row loop with an IF / ELSEIF / ELSE chain or a SWITCH per row beside the same loop in
# Jinja2 (if / elif / else; Jinja2 has no switch), checked to give the same output.
# KEL protects <style> sections: their braces come out as "[[" "]]", so those two marks are mapped
# back before the outputs are compared.
source "$(dirname "$0")/common.sh"
[ -f "$OUT/w2_rows.json" ] || $PY "$PEERS/w2/gen_w2.py" "$OUT/w2_rows.json"
$PY - "$OUT/w2_rows.json" "$OUT/w2_rows.tsv" <<'PYEOF'
import json, sys
rows = json.load(open(sys.argv[1], encoding="utf-8"))
with open(sys.argv[2], "w", encoding="utf-8") as f:
    for r in rows:
        f.write("%s\t%s\t%s\t%d\n" % (r["name"], r["city"], r["amount"], 1 if r["active"] else 0))
PYEOF
KEL_W2_DIR=bench/kel_w2 KEL_W2_ROWS="$OUT/w2_rows.tsv" KEL_W2_OUT="$OUT/w2_kel.html" \
  KEL_W2_ESCAPED_OUT="$OUT/w2_kel_escaped.html" KEL_IFCHAIN_OUT="$OUT/ifchain_kel.html" \
  KEL_SWITCH_OUT="$OUT/switch_kel.html" RYKEL_QUIET=1 \
  "$OUT/bench_kel" --benchmark_format=json --benchmark_out="$OUT/kel.json" --benchmark_out_format=json \
  --benchmark_repetitions=5 >/dev/null
CT_MS=""
if [ -x "$OUT/peer_ctemplate" ]; then
  CT_MS=$("$OUT/peer_ctemplate" bench/ctemplate_w2 "$OUT/w2_rows.tsv" "$OUT/w2_ctemplate.html" 21 | awk '/^expand_ms/ {print $2 "," $3}')
fi
$PY - "$PEERS/w2" "$OUT" "$CT_MS" <<'PYEOF'
import json, os, statistics, sys, time
import jinja2
from pairing import gbench, timed
peer, out, ct = sys.argv[1], sys.argv[2], sys.argv[3]
rows = json.load(open(os.path.join(out, "w2_rows.json"), encoding="utf-8"))
env = jinja2.Environment(loader=jinja2.FileSystemLoader(os.path.join(peer, "templates")), autoescape=False)
t = env.get_template("table_subscript.html")
ctx = {"title": "Personen", "rows": rows}
ref = t.render(ctx)
times, cpu = [], []
for _ in range(5):
    c0 = time.thread_time_ns(); t0 = time.perf_counter_ns(); s = t.render(ctx)
    times.append((time.perf_counter_ns() - t0) / 1e6); cpu.append((time.thread_time_ns() - c0) / 1e6)
jinja_ms = statistics.median(times)
jinja_cpu = statistics.median(cpu)
env_esc = jinja2.Environment(loader=jinja2.FileSystemLoader(os.path.join(peer, "templates")), autoescape=True)
t_esc = env_esc.get_template("table_subscript.html")
ref_esc = t_esc.render(ctx)
jinja_esc_ms = timed(lambda: t_esc.render(ctx))
kel_out = open(os.path.join(out, "w2_kel.html"), encoding="utf-8").read()
same = kel_out.replace("[[", "{").replace("]]", "}") == ref
kel_esc = open(os.path.join(out, "w2_kel_escaped.html"), encoding="utf-8").read()
same_esc = kel_esc.replace("[[", "{").replace("]]", "}").replace("&quot;", "&#34;") == ref_esc
res = gbench(os.path.join(out, "kel.json"))
def median(name, key="real_time"):
    return res[name][key]
kel_ms = median("KEL_W2")
print(f"W2 page, same HTML output: {same}")
kel_cpu = median("KEL_W2", "cpu_time")
print(f"W2 render   KEL {kel_ms:8.1f} ms   Jinja2 {jinja_ms:8.1f} ms   ratio KEL/Jinja2 {kel_ms / jinja_ms:5.2f}")
print(f"  CPU time  KEL {kel_cpu:8.1f} ms   Jinja2 {jinja_cpu:8.1f} ms   ratio KEL/Jinja2 {kel_cpu / jinja_cpu:5.2f}")
same_ct = True
if ct:
    ct_ms, ct_cpu = (float(x) for x in ct.split(","))
    same_ct = open(os.path.join(out, "w2_ctemplate.html"), encoding="utf-8").read() == ref
    print(f"W2 page from ctemplate, same HTML output: {same_ct}")
    print(f"W2 render   KEL {kel_ms:8.2f} ms   ctemplate {ct_ms:8.2f} ms (expand)   ratio KEL/ctemplate {kel_ms / ct_ms:5.2f}")
    print(f"  CPU time  KEL {kel_cpu:8.2f} ms   ctemplate {ct_cpu:8.2f} ms (expand)   ratio KEL/ctemplate {kel_cpu / ct_cpu:5.2f}")
else:
    print("W2 ctemplate: not built (install libctemplate-dev and build again)")
kel_esc_ms = median("KEL_EscapedW2")
print(f"W2 page with autoescape, same HTML output: {same_esc}")
print(f"W2 escaped  KEL {kel_esc_ms:8.1f} ms   Jinja2 {jinja_esc_ms:8.1f} ms   ratio KEL/Jinja2 {kel_esc_ms / jinja_esc_ms:5.2f}")
loops_same = True
for name, key, src in [
    ("IF chain", "KEL_IfChain", "{% for row in rows %}<td>{% if row.amount > 50000 %}big{% elif row.amount > 10000 %}mid"
     "{% else %}small{% endif %}</td>{% endfor %}"),
    ("SWITCH", "KEL_Switch", "{% for row in rows %}<td>{% if row.city == 'Berlin' %}B{% elif row.city == 'Hamburg' %}H"
     "{% elif row.city == 'Köln' %}K{% else %}-{% endif %}</td>{% endfor %}")]:
    jt = jinja2.Environment(autoescape=False).from_string(src)
    kel_file = os.path.join(out, ("ifchain" if key == "KEL_IfChain" else "switch") + "_kel.html")
    same_loop = open(kel_file, encoding="utf-8").read() == jt.render(ctx)
    loops_same = loops_same and same_loop
    jcpu = []
    for _ in range(5):
        c0 = time.thread_time_ns(); jt.render(ctx); jcpu.append((time.thread_time_ns() - c0) / 1e6)
    kcpu = median(key, "cpu_time")
    print(f"{name:8s} loop  CPU time  KEL {kcpu:6.2f} ms   Jinja2 {statistics.median(jcpu):6.2f} ms   "
          f"ratio KEL/Jinja2 {kcpu / statistics.median(jcpu):5.2f}   same output: {same_loop}")
print(f"flat 100-command template: {median('KEL_Flat100', 'commands_per_s') / 1e6:6.2f} M commands/s")
print(f"1 MB text with 10 commands: {median('KEL_BigText', 'real_time'):6.2f} ms ({median('KEL_BigText', 'bytes_per_second') / 1e9:5.2f} GB/s)")
if not same or not same_esc or not same_ct or not loops_same:
    sys.exit(1)
PYEOF
