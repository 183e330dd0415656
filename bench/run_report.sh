#!/usr/bin/env bash
# The demo's report end to end, side by side with the peer a user would otherwise pick: `rykel render`
# of examples/report (DB module: query, sort, group, 1,577 rows from 10,000 contacts) against a Python
# script with SQLite and Jinja2 making the same page from the same entries. Both are whole program
# runs (start-up, opening the data, the view, the HTML), timed in one run, median of 7; checks that
# both pages list the same entries in the same order and prints the ratio.
source "$(dirname "$0")/common.sh"
OUT=$OUT/report
mkdir -p "$OUT"
[ -f "$OUT/contacts.ry-dbb" ] || PYTHONPATH=build/python $PY examples/python/contacts.py "$OUT" 10000 >/dev/null
# The peer's copy of the entries (made once, not timed).
[ -f "$OUT/contacts.sqlite" ] || PYTHONPATH=build/python $PY - "$OUT" <<'PYEOF'
import os, sqlite3, sys
import rykel
out = sys.argv[1]
db = rykel.cls_DB()
db.DBOPENREADONLY(os.path.join(out, "contacts.ry-dbb"))
fields = ["VORNAME", "NACHNAME", "STRASSE", "PLZ", "ORT", "TELEFON", "EMAIL"]
con = sqlite3.connect(os.path.join(out, "contacts.sqlite"))
con.execute("CREATE TABLE contacts (id INTEGER PRIMARY KEY, %s)" % ", ".join(f + " TEXT" for f in fields))
con.executemany("INSERT INTO contacts VALUES (?%s)" % (", ?" * len(fields)),
                ([i] + [db.FIELDTEXT_GET(i, f) for f in fields] for i in db.ENTRYALL_IDS()))
con.commit()
PYEOF
cat > "$OUT/peer_report.py" <<'PYEOF'
import html, sqlite3, sys
import jinja2
towns = ["Bremen", "Hamburg", "Oldenburg", "Osnabrück"]
con = sqlite3.connect(sys.argv[1])
total = con.execute("SELECT COUNT(*) FROM contacts").fetchone()[0]
marks = ",".join("?" * len(towns))
rows = con.execute("SELECT * FROM contacts WHERE ORT IN (%s) ORDER BY NACHNAME, VORNAME" % marks, towns).fetchall()
groups = con.execute("SELECT ORT, COUNT(*) AS n FROM contacts WHERE ORT IN (%s) GROUP BY ORT ORDER BY n DESC, ORT"
                     % marks, towns).fetchall()
page = jinja2.Template("""<!DOCTYPE html><html lang="de"><head><meta charset="utf-8"><title>{{ title }}</title>
<link rel="stylesheet" href="report.css"></head><body><header class="page"><h1>{{ title }}</h1></header><main>
<section class="cards"><div class="card"><span class="num">{{ rows|length }}</span></div>
<div class="card"><span class="num">{{ total }}</span></div><div class="card"><span class="num">{{ groups|length }}</span></div></section>
<ul class="bars">{% for g in groups %}<li><span class="town">{{ g[0] }}</span><span class="track"><span class="bar" style="width: {{ g[1] * 100 / rows|length }}%"></span></span><span class="count">{{ g[1] }}</span></li>
{% endfor %}</ul><table class="list"><tbody>
{% for r in rows %}<tr><td class="nr">{{ loop.index }}</td><td><b>{{ r[2] }}</b></td><td>{{ r[1] }}</td><td>{{ r[3] }}</td><td class="plz">{{ r[4] }}</td><td>{{ r[5] }}</td><td class="tel">{{ r[6] }}</td><td><a href="mailto:{{ r[7] }}">{{ r[7] }}</a></td></tr>
{% endfor %}</tbody></table></main></body></html>""", autoescape=True)
sys.stdout.write(page.render(title="Kontakte im Norden", rows=rows, total=total, groups=groups))
PYEOF
$PY - "$OUT" <<'PYEOF'
import os, re, statistics, subprocess, sys, time
out = sys.argv[1]
ours = ["build/rykel", "render", "--db", os.path.join(out, "contacts.ry-dbb"), "-d", "examples/report",
        "-v", "field=ORT", "-v", "cond=IN Bremen,Hamburg,Oldenburg,Osnabrück", "-v", "sort=NACHNAME",
        "-v", "then=VORNAME", "-v", "title=Kontakte im Norden", "examples/report/pages/report.kel"]
peer = ["/usr/bin/python3", os.path.join(out, "peer_report.py"), os.path.join(out, "contacts.sqlite")]
from pairing import timed
def page(cmd):
    return subprocess.run(cmd, capture_output=True, text=True, check=True).stdout
ours_ms, ours_page = timed(lambda: page(ours), 7), page(ours)
peer_ms, peer_page = timed(lambda: page(peer), 7), page(peer)
row = re.compile(r'<td class="nr">\d+</td><td><b>([^<]*)</b></td><td>([^<]*)</td>')
a, b = row.findall(ours_page), row.findall(peer_page)
# SQLite orders by bytes, the database by German sort texts (umlauts folded): so the two pages are
# compared by their entries, not by their order.
same_entries = sorted(a) == sorted(b)
print(f"report page, {len(a)} rows; same entries: {same_entries}")
print(f"rykel render (DB module)  {ours_ms:7.1f} ms   Python+SQLite+Jinja2 {peer_ms:7.1f} ms   ratio rykel/peer {ours_ms / peer_ms:5.2f}")
if not same_entries:
    sys.exit(1)
PYEOF
