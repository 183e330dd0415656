"""The database browser from a Python host: rykel.cls_DBBrowser answers (status, type, body)
for the host's own server, writes need the token, and the xlsx export holds the view's rows; and
mounted in `rykel serve --db` and in rykel.cls_SiteServer."""
import io
import json
import os
import tempfile
import unittest

import rykel
import support

try:
    import openpyxl
except ImportError:
    openpyxl = None


def make_people(folder):
    db = rykel.cls_DB()
    for fid, name in (("NAME", "Name"), ("CITY", "Ort"), ("AGE", "Alter")):
        db.FIELDCREATE(fid, rykel.ID_DBFieldType_Long if fid == "AGE" else rykel.ID_DBFieldType_String, name)
    header, path = os.path.join(folder, "people.header"), os.path.join(folder, "people.ry-dbb")
    db.HEADERSAVE(header)
    db.DBOPEN(path, header, True)
    for i, (name, city, age) in enumerate((("Anna", "Kiel", 34), ("Bernd", "Bonn", 28), ("Carla", "Kiel", 52)), 1):
        db.ENTRYADD(i, {"NAME": name, "CITY": city, "AGE": age})
    db.DBCLOSE()
    return path


class DBBrowserTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)
        self.file = make_people(self.dir.name)
        self.browser = rykel.cls_DBBrowser()
        self.browser.DBADD("people", self.file)

    def test_reads_writes_and_exports(self):
        b = self.browser
        self.assertIsNone(b.HANDLE("GET", "/index.html"))
        status, kind, body = b.HANDLE("GET", "/_api/people", {"f.CITY": "kiel", "sort": "AGE", "desc": "1"})
        self.assertEqual((status, kind), (200, "application/json"))
        self.assertEqual([r["fields"]["NAME"] for r in json.loads(body)["rows"]], ["Carla", "Anna"])

        b.WRITABLE = True
        status, _, _, headers = b.HANDLE("POST", "/_db/people/2", {"token": b.TOKEN_GET(), "v.AGE": "29"},
                                         pWithHeaders=True)
        self.assertEqual((status, headers), (303, [("Location", "/_db/people/2")]))
        self.assertEqual(json.loads(b.HANDLE("GET", "/_api/people/2")[2])["fields"]["AGE"], 29)

        status, kind, body = b.HANDLE("GET", "/_db/people", {"f.CITY": "kiel", "sort": "AGE", "desc": "1",
                                                            "export": "xlsx"})
        self.assertEqual((status, kind), (200, "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"))
        if openpyxl is None:
            self.skipTest("openpyxl is not installed")
        sheet = openpyxl.load_workbook(io.BytesIO(body)).active
        cells = [[c for c in row if c is not None] for row in sheet.iter_rows(values_only=True)]
        self.assertLess(cells.index(["Carla", "Kiel", 52]), cells.index(["Anna", "Kiel", 34]))  # both there, in order
        self.assertFalse(any("Bernd" in row for row in cells))

    def test_mounted_in_the_servers(self):
        support.make_site(self.dir.name, {"pages/index.kel": "start"})
        proc, port = support.serve("-d", self.dir.name, "--db", f"people={self.file}")
        try:
            # A parameter value holding "=" arrives whole.
            status, kind, body = support.fetch(port, "/_api/people?filter=AGE=%3E%3D%2030&sort=AGE")
            self.assertEqual((status, kind), (200, "application/json"))
            self.assertEqual([r["id"] for r in json.loads(body)["rows"]], [1, 3])
            self.assertEqual(support.fetch(port, "/_db/people/2", "POST", "token=x&v.AGE=1",
                                           {"Content-Type": "application/x-www-form-urlencoded"})[0], 403)
            self.assertTrue(support.fetch(port, "/")[2].startswith(b"start"))
        finally:
            proc.terminate()
            proc.wait(timeout=20)
        site = rykel.cls_Site(self.dir.name)
        server = rykel.cls_SiteServer(site, pLog=False)
        server.MOUNT(self.browser)
        with server:
            status, _, body = support.fetch(server.PORT(), "/_api/people/facets/CITY?f.AGE=%3C%2040")
        self.assertEqual((status, {c["label"]: c["count"] for c in json.loads(body)["choices"]}["Bonn"]), (200, 1))


if __name__ == "__main__":
    unittest.main()
