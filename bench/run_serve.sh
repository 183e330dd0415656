#!/usr/bin/env bash
# Load test of rykel serve on loopback: RYKEL_SERVE_REQUESTS requests (default 2,000) from 8
# concurrent clients (threads with keep-alive connections) against a page that lists 100 entries
# of a data file, side by side with the peer a user would otherwise pick for a live preview: a
# Python threading HTTP server rendering the same list with Jinja2 (template compiled once); and
# with RYKEL_SERVE_DB_REQUESTS requests (default 2,000) against a page that lists 100 entries of a
# database of RYKEL_SERVE_CONTACTS (default 10,000) random contacts (opened once per render thread).
# Prints requests per second, p50/p99 latency and errors per server. Bounded: every request times
# out after 10 s, the whole run after 180 s, and the servers are stopped at the end.
source "$(dirname "$0")/common.sh"
requests=${RYKEL_SERVE_REQUESTS:-2000}
site=$OUT/serve_site
rm -rf "$site" && mkdir -p "$site/pages" "$site/data"
$PY - "$site" <<'PY'
import json, sys
site = sys.argv[1]
people = [{"NAME": f"Person {i}", "CITY": ["Kiel", "Bremen", "Köln"][i % 3], "NR": i} for i in range(100)]
json.dump(people, open(f"{site}/data/people.json", "w"), ensure_ascii=False)
open(f"{site}/pages/list.kel", "w").write(
    "<html><body><h1>Liste</h1><table>{ITERATE p VAR:people {<tr><td>{VAR:p.NR}</td><td>{VAR:p.NAME}</td>"
    "<td>{VAR:p.CITY}</td></tr>}}</table></body></html>")
open(f"{site}/list.jinja", "w").write(
    "<html><body><h1>Liste</h1><table>{% for p in people %}<tr><td>{{ p.NR }}</td><td>{{ p.NAME }}</td>"
    "<td>{{ p.CITY }}</td></tr>{% endfor %}</table></body></html>")
open(f"{site}/pages/db.kel", "w").write(
    "<html><body><h1>Kontakte</h1><table>{ITERATE p {{DB:ENTRIES {{DB:LIMIT {{DB:ALL SORT=NACHNAME}} 100}} HTML=1}} "
    "{<tr><td>{VAR:p.NACHNAME}</td><td>{VAR:p.VORNAME}</td><td>{VAR:p.ORT}</td></tr>}}</table></body></html>")
PY
PYTHONPATH=build/python $PY examples/python/contacts.py "$site" "${RYKEL_SERVE_CONTACTS:-10000}" >/dev/null
timeout 180 $PY - "$site" "$requests" "${RYKEL_SERVE_DB_REQUESTS:-2000}" build/rykel <<'PY'
import http.client, http.server, json, socketserver, subprocess, sys, threading, time
import jinja2
site, total, db_total, rykel = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]
CLIENTS = 8

def load(port, path, count=total):
    """(seconds, sorted latencies in ms, errors) of `count` GETs from CLIENTS threads."""
    latencies, errors, lock, counter = [], [0], threading.Lock(), iter(range(count))
    def client():
        conn = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
        while True:
            with lock:
                if next(counter, None) is None:
                    break
            t0 = time.perf_counter()
            try:
                conn.request("GET", path)
                r = conn.getresponse()
                body = r.read()
                ok = r.status == 200 and body.count(b"<tr>") == 100
            except (OSError, http.client.HTTPException):
                ok = False
                conn.close()
                conn = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
            ms = (time.perf_counter() - t0) * 1000
            with lock:
                latencies.append(ms)
                errors[0] += not ok
        conn.close()
    threads = [threading.Thread(target=client) for _ in range(CLIENTS)]
    t0 = time.perf_counter()
    for t in threads: t.start()
    for t in threads: t.join()
    return time.perf_counter() - t0, sorted(latencies), errors[0]

def report(name, seconds, lat, errors):
    p = lambda q: lat[min(len(lat) - 1, int(q * len(lat)))]
    print(f"  {name:38} {len(lat):6d} {len(lat) / seconds:8.0f} {p(0.5):8.2f} {p(0.99):8.2f} {errors:7d}", flush=True)

print(f"{CLIENTS} concurrent clients, pages listing 100 entries")
print(f"  {'server and page':38} {'reqs':>6} {'req/s':>8} {'p50 ms':>8} {'p99 ms':>8} {'errors':>7}", flush=True)
def ours(name, path, count, *args):
    server = subprocess.Popen([rykel, "serve", "-d", site, "--port", "0", *args], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True)
    try:
        port = int(server.stdout.readline().rsplit(":", 1)[1].strip("/\n"))
        load(port, path, 16)  # warm-up: the first requests start the pool's threads
        report(name, *load(port, path, count))
    finally:
        server.terminate()
        server.wait(timeout=20)

ours("rykel serve /list (data file)", "/list", total)

env = jinja2.Environment(autoescape=False)
template = env.from_string(open(f"{site}/list.jinja", encoding="utf-8").read())
people = json.load(open(f"{site}/data/people.json", encoding="utf-8"))
class Page(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    def do_GET(self):
        body = template.render(people=people).encode()
        self.send_response(200)
        self.send_header("Content-Type", "text/html; charset=utf-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)
    def log_message(self, *args):
        pass
class Threading(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
peer = Threading(("127.0.0.1", 0), Page)
threading.Thread(target=peer.serve_forever, daemon=True).start()
load(peer.server_address[1], "/list")
report("Python http.server + Jinja2 /list", *load(peer.server_address[1], "/list"))
peer.shutdown()
# every page of a site served with --db opens the database anew
ours("rykel serve --db, /db (100 of it)", "/db", db_total, "--db", f"{site}/contacts.ry-dbb")
PY
