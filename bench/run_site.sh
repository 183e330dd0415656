#!/usr/bin/env bash
# rykel build of a generated site of RYKEL_SITE_PAGES pages (default 10,000; each sets a title,
# includes a header and a footer and lists 20 members of a data file), with -j 1 and -j N (N =
# cores), side by side with a Jinja2 static-site loop (one process, the templates compiled once,
# each page rendered and written to its file). Checks that a page comes out the same on both sides
# and prints pages per second, the speed-up of -j N and ours/Jinja2.
source "$(dirname "$0")/common.sh"
pages=${RYKEL_SITE_PAGES:-10000}
jobs=$(nproc)
out=$OUT/site
rm -rf "$out" && mkdir -p "$out"
$PY - "$out" "$pages" <<'PY'
import json, os, sys
out, pages = sys.argv[1], int(sys.argv[2])
team = [{"NAME": f"Person {i}", "CITY": ["Kiel", "Bremen", "Köln"][i % 3]} for i in range(20)]
for side in ("kel", "jinja"):
    os.makedirs(f"{out}/{side}/pages", exist_ok=True)
    os.makedirs(f"{out}/{side}/inc", exist_ok=True)
os.makedirs(f"{out}/kel/data", exist_ok=True)
json.dump(team, open(f"{out}/kel/data/team.json", "w"), ensure_ascii=False)
json.dump(team, open(f"{out}/jinja/team.json", "w"), ensure_ascii=False)
open(f"{out}/kel/inc/header.kel", "w").write("<html><head><title>{VAR:title}</title></head><body>\n")
open(f"{out}/kel/inc/footer.kel", "w").write("</body></html>\n")
open(f"{out}/jinja/inc/header.html", "w").write("<html><head><title>{{ title }}</title></head><body>\n")
open(f"{out}/jinja/inc/footer.html", "w").write("</body></html>\n")
for n in range(pages):
    sub = f"p{n // 1000}"
    os.makedirs(f"{out}/kel/pages/{sub}", exist_ok=True)
    os.makedirs(f"{out}/jinja/pages/{sub}", exist_ok=True)
    open(f"{out}/kel/pages/{sub}/s{n}.kel", "w").write(
        f'{{VAR title "Seite {n}"}}{{INCLUDE header}}<ul>{{ITERATE p VAR:team {{<li>{{VAR:p.NAME}}, {{VAR:p.CITY}}</li>}}}}</ul>\n'
        '{INCLUDE footer}')
    open(f"{out}/jinja/pages/{sub}/s{n}.html", "w").write(
        f'{{% set title = "Seite {n}" %}}{{% include "inc/header.html" %}}<ul>{{% for p in team %}}<li>{{{{ p.NAME }}}}, '
        '{{ p.CITY }}</li>{% endfor %}</ul>\n{% include "inc/footer.html" %}')
PY
$PY - "$out" "$pages" "$jobs" build/rykel "${RYKEL_SITE_BUILD:-$out/kel_out}" <<'PY'
import json, os, subprocess, sys, time
import jinja2
from pairing import process
out, pages, jobs, rykel, built = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4], sys.argv[5]

def best(f, runs=3):
    times = []
    for _ in range(runs):
        t0 = time.perf_counter(); f(); times.append(time.perf_counter() - t0)
    return min(times)

def ours(j):
    process([rykel, "build", f"{out}/kel", built, "-j", str(j), "--clean", "--quiet"])

def jinja():
    env = jinja2.Environment(loader=jinja2.FileSystemLoader(f"{out}/jinja"), autoescape=False, keep_trailing_newline=True)
    team = json.load(open(f"{out}/jinja/team.json", encoding="utf-8"))
    for dirpath, _, files in os.walk(f"{out}/jinja/pages"):
        for name in files:
            rel = os.path.relpath(os.path.join(dirpath, name), f"{out}/jinja")
            target = os.path.join(f"{out}/jinja_out", os.path.relpath(rel, "pages"))
            os.makedirs(os.path.dirname(target), exist_ok=True)
            with open(target, "w", encoding="utf-8") as f:
                f.write(env.get_template(rel).render(team=team))

one, many, peer = best(lambda: ours(1)), best(lambda: ours(jobs)), best(jinja)
a = open(f"{built}/p0/s7.html", encoding="utf-8").read()
b = open(f"{out}/jinja_out/p0/s7.html", encoding="utf-8").read()
assert a == b, (a[:200], b[:200])
print(f"site build, {pages} pages (best of 3)   pages/s")
print(f"  rykel build -j 1              {pages / one:10.0f}")
print(f"  rykel build -j {jobs}              {pages / many:10.0f}   speed-up {one / many:.2f}x on {jobs} cores")
print(f"  Jinja2 loop (one process)     {pages / peer:10.0f}")
print(f"  ours/Jinja2 time: -j 1 {one / peer:.2f}, -j {jobs} {many / peer:.2f}")
PY
