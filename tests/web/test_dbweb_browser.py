"""The database browser in a real browser (headless Chromium through Selenium) on 10,000 random
contacts: the table renders, a facet click narrows the rows and the counts, a header click sorts,
the search box finds an entry, and the xlsx export downloads the view's rows; served by
`rykel serve --db`.

RYKEL_SCREENSHOT_DIR, when set, receives serve-db.png (the facet view)."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse
import urllib.request

import support

from support import ROOT, browser, no_browser, waiter

try:
    from selenium.webdriver.common.by import By
except ImportError:
    pass
try:
    import openpyxl
except ImportError:
    openpyxl = None


@unittest.skipIf(no_browser(), no_browser())
class BrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp()
        subprocess.run([sys.executable, os.path.join(ROOT, "examples", "python", "contacts.py"), cls.dir, "10000"],
                       check=True, stdout=subprocess.DEVNULL)
        support.make_site(cls.dir, {"pages/index.kel": "contacts"})
        cls.server, port = support.serve("-d", cls.dir, "--db", "contacts=" + os.path.join(cls.dir, "contacts.ry-dbb"))
        cls.base = f"http://127.0.0.1:{port}"
        cls.driver = browser("1400,900")
        cls.downloads = os.path.join(cls.dir, "downloads")
        os.makedirs(cls.downloads)
        cls.driver.execute_cdp_cmd("Page.setDownloadBehavior", {"behavior": "allow", "downloadPath": cls.downloads})

    @classmethod
    def tearDownClass(cls):
        cls.driver.quit()
        cls.server.terminate()
        cls.server.wait(timeout=20)
        shutil.rmtree(cls.dir, ignore_errors=True)

    def api(self, path, **params):
        with urllib.request.urlopen(f"{self.base}{path}?{urllib.parse.urlencode(params)}") as r:
            return json.load(r)

    def css(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def count(self):
        return int(self.css("#count")[0].text)

    def row_ids(self):
        return [int(tr.get_attribute("data-id")) for tr in self.css("#entries tbody tr")]

    def facet_counts(self, field):
        return {a.text: int(a.find_element(By.XPATH, "following-sibling::span").text)
                for a in self.css(f'.facet[data-field="{field}"] a.choice')}

    def test_table_facets_sort_search_and_export(self):
        d = self.driver
        d.get(f"{self.base}/_db/contacts?facet=ORT")
        self.assertEqual(self.count(), 10000)
        self.assertEqual(len(self.row_ids()), 50)
        self.assertEqual([a.text for a in self.css("a.sort")][:3], ["Vorname", "Nachname", "Straße"])
        before = self.facet_counts("NACHNAME")

        # A facet click narrows the rows and every field's counts.
        choice = self.css('.facet[data-field="ORT"] a.choice')[0]
        condition = choice.get_attribute("data-condition")
        wanted = int(choice.find_element(By.XPATH, "following-sibling::span").text)
        choice.click()
        waiter(d, 10).until(lambda _: self.count() == wanted)
        town = condition.split(" ", 1)[1]
        self.assertTrue(all(tr.find_elements(By.TAG_NAME, "td")[5].text == town
                            for tr in self.css("#entries tbody tr")))
        after = self.facet_counts("NACHNAME")
        self.assertEqual(max(after.values()), wanted)  # the choice "not empty" keeps them all
        self.assertEqual(max(before.values()), 10000)
        self.assertTrue(all(after.get(k, 0) <= n for k, n in before.items()))
        if os.environ.get("RYKEL_SCREENSHOT_DIR"):
            d.save_screenshot(os.path.join(os.environ["RYKEL_SCREENSHOT_DIR"], "serve-db.png"))

        # A header click sorts the narrowed view; a second one turns the order.
        self.css('a.sort[data-field="NACHNAME"]')[0].click()
        waiter(d, 10).until(lambda _: "sort=NACHNAME" in d.current_url)
        view = {"c.ORT": condition, "sort": "NACHNAME", "size": 500}
        by_name = [r["id"] for r in self.api("/_api/contacts", **view)["rows"]]
        self.assertEqual(self.row_ids(), by_name[:50])
        self.css('a.sort[data-field="NACHNAME"]')[0].click()
        waiter(d, 10).until(lambda _: "desc=1" in d.current_url)
        self.assertEqual(self.row_ids(), [r["id"] for r in self.api("/_api/contacts", desc=1, **view)["rows"]][:50])

        # The xlsx export of this view holds its rows in its order.
        self.css("#export-xlsx")[0].click()
        xlsx = os.path.join(self.downloads, "contacts.xlsx")  # named so when the download is whole
        waiter(d, 10).until(lambda _: os.path.exists(xlsx))
        if openpyxl is not None:
            names = [r["fields"]["NACHNAME"] for r in self.api("/_api/contacts", desc=1, **view)["rows"]]
            sheet = openpyxl.load_workbook(xlsx).active
            cells = [row for row in sheet.iter_rows(values_only=True) if any(c is not None for c in row)]
            column = next(i for i, c in enumerate(cells[0]) if c == "Nachname")
            self.assertEqual([row[column] for row in cells[1:]][-len(names):], names)

        # The search box finds one entry by its e-mail address.
        some = self.api("/_api/contacts/1234")["fields"]
        d.get(f"{self.base}/_db/contacts")
        self.css("#search")[0].send_keys(f'"{some["EMAIL"]}" {some["VORNAME"]}')
        self.css("#apply")[0].click()
        waiter(d, 10).until(lambda _: "search=" in d.current_url)
        self.assertIn(1234, self.row_ids())
        self.assertEqual(self.count(), len(self.row_ids()))


if __name__ == "__main__":
    unittest.main()
