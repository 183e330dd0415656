"""Load on the database browser's facet API: COUNT requests from CLIENTS concurrent clients, then
p50/p99 latency and errors. Against a running server (BASE is http://host:port) or, with BASE
"inprocess:FILE", threads calling rykel.cls_DBBrowser.HANDLE on FILE directly.

    serve_db_load.py BASE [COUNT] [CLIENTS]

Three runs: the facet API on one view (what a browser's sidebar asks again and again), the facet
API on a new view each request (every count made anew: 100 postal-code prefixes, 200 requests),
and a table page of 100 entries."""
import http.client
import statistics
import sys
import threading
import time
import urllib.parse

base = sys.argv[1]
count = int(sys.argv[2]) if len(sys.argv) > 2 else 2000
clients = int(sys.argv[3]) if len(sys.argv) > 3 else 8
TIMEOUT = 10


def client_http(paths, lat, errors):
    url = urllib.parse.urlsplit(base)
    conn = http.client.HTTPConnection(url.hostname, url.port, timeout=TIMEOUT)
    for path in paths:
        start = time.perf_counter()
        try:
            conn.request("GET", path)
            response = conn.getresponse()
            response.read()
            ok = response.status == 200
        except (OSError, http.client.HTTPException):
            ok = False
            conn.close()
            conn = http.client.HTTPConnection(url.hostname, url.port, timeout=TIMEOUT)
        lat.append(time.perf_counter() - start)
        if not ok:
            errors.append(path)
    conn.close()


browser = None
if base.startswith("inprocess:"):
    import rykel
    browser = rykel.cls_DBBrowser()
    browser.DBADD("contacts", base[len("inprocess:"):])


def client_inprocess(paths, lat, errors):
    for path in paths:
        url = urllib.parse.urlsplit(path)
        start = time.perf_counter()
        status = browser.HANDLE("GET", url.path, urllib.parse.parse_qsl(url.query))[0]
        lat.append(time.perf_counter() - start)
        if status != 200:
            errors.append(path)


def run(name, paths):
    lat, errors = [], []
    client = client_inprocess if browser else client_http
    threads = [threading.Thread(target=client, args=(paths[i::clients], lat, errors)) for i in range(clients)]
    started = time.perf_counter()
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    wall = time.perf_counter() - started
    lat.sort()
    p = lambda q: lat[min(len(lat) - 1, int(q * len(lat)))] * 1000
    print(f"{name:<44} {len(lat):>5} req {clients} clients  p50 {p(0.50):7.2f} ms  p99 {p(0.99):7.2f} ms  "
          f"max {lat[-1] * 1000:7.1f} ms  {len(lat) / wall:7.0f} req/s  errors {len(errors)}")
    return errors


# The first request opens the database (not timed).
if browser:
    browser.HANDLE("GET", "/_api/contacts/facets/NACHNAME")
else:
    client_http(["/_api/contacts/facets/NACHNAME"], [], [])
failed = run("facet API, one view (NACHNAME)", ["/_api/contacts/facets/NACHNAME"] * count)
fresh = [f"/_api/contacts/facets/NACHNAME?f.PLZ=BEGINS%20{n:02d}" for n in range(100)]
failed += run("facet API, a new view each (200, counted anew)", (fresh + [p + "&f.ORT=%21Kiel" for p in fresh]))
failed += run("table page of 100 entries", ["/_db/contacts?size=100&sort=NACHNAME"] * count)
sys.exit(1 if failed else 0)
