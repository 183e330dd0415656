"""rykel serve in a real browser (headless Chromium through Selenium): the page renders, an edit of
its template reloads the open page, a broken template shows the overlay with the right line.
RYKEL_SCREENSHOTS=1 saves the overlay's screenshot as docs/serve.png."""
import os
import shutil
import tempfile
import time
import unittest

from support import ROOT, browser, no_browser, serve, waiter

try:
    from selenium.webdriver.common.by import By
except ImportError:
    pass


@unittest.skipIf(no_browser(), no_browser())
class BrowserTest(unittest.TestCase):
    def setUp(self):
        tmp = tempfile.TemporaryDirectory()
        self.addCleanup(tmp.cleanup)
        self.site = os.path.join(tmp.name, "site")
        shutil.copytree(os.path.join(ROOT, "examples", "site"), self.site)
        self.server, port = serve("-d", self.site)
        self.addCleanup(self.server.wait)
        self.addCleanup(self.server.terminate)
        self.url = f"http://127.0.0.1:{port}/"

        self.driver = browser()
        self.addCleanup(self.driver.quit)

    def edit(self, page, text):
        # replaced whole, so that the watcher never sees the file half written
        path = os.path.join(self.site, "pages", page)
        with open(path + ".new", "w", encoding="utf-8") as f:
            f.write(text)
        os.replace(path + ".new", path)

    def test_render_reload_on_edit_and_the_overlay(self):
        d = self.driver
        wait = waiter(d)
        d.get(self.url)
        self.assertEqual(d.find_element(By.TAG_NAME, "h1").text, "Unser Team")
        self.assertGreater(len(d.find_elements(By.CSS_SELECTOR, "table tr")), 2)
        # the open page reloads itself after its template changed
        time.sleep(0.5)
        with open(os.path.join(self.site, "pages", "index.kel"), encoding="utf-8") as f:
            team = f.read()
        self.edit("index.kel", team.replace("{VAR title \"Unser Team\"}", "{VAR title \"Unser neues Team\"}"))
        wait.until(lambda drv: drv.find_element(By.TAG_NAME, "h1").text == "Unser neues Team")
        # a broken template: the page's output stays, the overlay names the line
        self.edit("index.kel", team.replace("<table>", "<table>{IF (members > 3)}", 1))
        wait.until(lambda drv: drv.find_elements(By.ID, "rykel-overlay"))
        overlay = d.find_element(By.ID, "rykel-overlay")
        line = next(n for n, text in enumerate(team.split("\n"), 1) if "<table>" in text)
        where = overlay.find_element(By.CLASS_NAME, "rykel-where").text
        self.assertEqual(where, f"pages/index.kel:{line}:8")
        self.assertIn("IF requires", overlay.text)
        self.assertIn("<table>{IF (members > 3)}", overlay.find_element(By.CLASS_NAME, "rykel-source").text)
        self.assertEqual(d.find_element(By.TAG_NAME, "h1").text, "Unser Team")
        if os.environ.get("RYKEL_SCREENSHOTS"):
            d.save_screenshot(os.path.join(ROOT, "docs", "serve.png"))
        # fixed again: the overlay goes away with the next reload
        self.edit("index.kel", team)
        wait.until(lambda drv: not drv.find_elements(By.ID, "rykel-overlay"))


if __name__ == "__main__":
    unittest.main()
