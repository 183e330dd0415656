"""The newcomer's path: help topics and --help everywhere, the manual page, templates reading a
database (render --db), the report site in examples/report and exports of the same view."""
import html.parser
import os
import re
import subprocess
import unicodedata
import unittest

import support
from support import ROOT, ScratchTest, ok


def run(*args):
    return support.run(*args, cwd=ROOT)


def fold(name):
    """Names as the German sort order compares them: umlauts as their base letters."""
    return "".join(c for c in unicodedata.normalize("NFD", name.casefold()) if not unicodedata.combining(c))


def subcommands(path):
    """The sub-commands listed by `rykel PATH --help`."""
    out = run(*path, "--help").stdout
    if "Subcommands:" not in out:
        return []
    block = out.split("Subcommands:", 1)[1]
    return [m.group(1) for m in re.finditer(r"^  (\S+)\s", block, re.M)]


class RowCounter(html.parser.HTMLParser):
    """Counts table rows of entries: rows with data cells, except a column header row."""

    def __init__(self):
        super().__init__()
        self.rows, self._cells = 0, 0

    def handle_starttag(self, tag, attrs):
        if tag == "tr":
            self._cells = -1 if ("class", "columnheader") in attrs else 0
        elif tag == "td" and self._cells >= 0:
            self._cells += 1

    def handle_endtag(self, tag):
        if tag == "tr" and self._cells > 0:
            self.rows += 1


class TestHelp(unittest.TestCase):
    def test_every_command_has_help(self):
        seen, todo = [], [[]]
        while todo:
            path = todo.pop()
            self.assertIn("Usage:", ok(*path, "--help", cwd=ROOT).stdout, path)
            seen.append(" ".join(path))
            todo.extend(path + [s] for s in subcommands(path))
        for name in ("db export", "db filter", "render", "help", "random"):
            self.assertIn(name, seen)

    def test_topics_and_manual_page(self):
        listing = run("help").stdout
        topics = re.findall(r"^  (\w+)\s", listing, re.M)
        self.assertEqual(topics, ["kel", "struct", "db", "query", "export", "random", "formats", "serve"])
        for t in topics:
            r = ok("help", t, cwd=ROOT)
            self.assertIn("See docs/", r.stdout, t)
            # every example a topic shows is a real command of the program
            for line in r.stdout.splitlines():
                if line.startswith("  rykel "):
                    cmd = line.split()[1:3]
                    if cmd[0] == "help":
                        continue
                    self.assertEqual(run(cmd[0], "--help").returncode, 0, line)
        with open(os.path.join(ROOT, "docs", "rykel.1"), encoding="utf-8") as f:
            self.assertEqual(f.read(), run("help", "--man").stdout,
                             "docs/rykel.1 is out of date: rykel help --man > docs/rykel.1")


class TestReport(ScratchTest):
    def test_render_with_database(self):
        db = os.path.join(ROOT, "examples", "data", "kunden.db")
        r = run("render", "--db", db, "-e", '{DB:COUNT} {DB:TEXT 1 VORNAME}')
        self.assertEqual((r.returncode, r.stdout), (0, "8 Anna"))
        r = run("render", "--db", "A=" + db, "-e", "{DB:USE a}{DB:COUNT {{DB:QUERY ORT Köln}}}")
        self.assertEqual((r.returncode, r.stdout), (0, "2"))
        r = run("render", "-e", "{DB:QUERY ORT x}")
        self.assertEqual((r.returncode, r.stdout), (1, "ERR:---No database open: DB:QUERY---"))

    def test_report_site_and_exports_show_one_view(self):
        # the Python host example makes the database (PYTHONPATH holds the module)
        made = subprocess.run(["/usr/bin/python3", os.path.join(ROOT, "examples", "python", "contacts.py"),
                               self.dir.name, "400"], capture_output=True, text=True)
        self.assertEqual(made.returncode, 0, made.stderr)
        self.assertTrue(made.stdout.startswith("400 contacts made and saved"))
        dbfile = self.path("contacts.ry-dbb")
        view = ["ORT", "IN Bremen,Hamburg,Oldenburg"]
        ids = run("db", "query", dbfile, *view).stdout.split()
        self.assertGreater(len(ids), 5)
        r = ok("render", "--db", dbfile, "-d", "examples/report", "-v", "field=" + view[0],
               "-v", "cond=" + view[1], "-v", "sort=NACHNAME", "-v", "then=VORNAME",
               "-v", "title=Kontakte <Nord>", "examples/report/pages/report.kel", "--errors", cwd=ROOT)
        page = r.stdout
        rows = RowCounter()
        rows.feed(page)
        self.assertEqual(('<span class="num">%d</span>' % len(ids) in page, '<span class="num">400</span>' in page,
                          "ERR:" in page, rows.rows), (True, True, False, len(ids)))
        # rows run by last name, then first name: by the joined sort key "LAST_FIRST", as the
        # database orders two fields (so "Becker" comes before "Beck", "_" being after the letters)
        names = re.findall(r'<td class="nr">\d+</td><td><b>([^<]*)</b></td><td>([^<]*)</td>', page)
        self.assertEqual(len(names), len(ids))
        self.assertEqual(names, sorted(names, key=lambda n: fold(n[0]).upper() + "_" + fold(n[1]).upper()))
        # the spreadsheet HTML export of the same view has the same entries
        out = self.path("view.htm")
        ok("db", "export", dbfile, "--format", "htm", "--out", out, "--quiet",
           "--filter", "=".join(view), "--sort", "NACHNAME", "--then", "VORNAME", cwd=ROOT)
        with open(out, encoding="cp1252") as f:
            exported = RowCounter()
            exported.feed(f.read())
        self.assertEqual(exported.rows, len(ids))

