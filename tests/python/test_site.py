import os

import rykel
from support import ScratchTest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class SiteTest(ScratchTest):
    def test_render_takes_a_dict_and_build_reports_a_dict(self):
        site = rykel.cls_Site(os.path.join(ROOT, "examples", "site"))
        self.assertEqual(site.PAGES(), ["broken", "index"])
        page = site.RENDER("index", {"team": [{"NAME": "Änne", "CITY": "Kiel", "ROLE": "<b>"}]})
        self.assertIn("<td>Änne</td><td>Kiel</td><td><b></td>", page["html"])
        self.assertEqual(page["errors"], [])
        self.assertFalse(page["cutShort"])
        self.assertTrue(site.RENDER("broken")["errors"][0].startswith("pages/broken.kel:2:4: "))
        report = site.BUILD(self.dir.name, pJobs=2)
        self.assertEqual({k: report[k] for k in ("built", "skipped", "copied", "failed")},
                         {"built": 2, "skipped": 0, "copied": 1, "failed": 1})
        self.assertEqual(len(report["errors"]), 3)
        with self.assertRaises(rykel.Error):
            site.RENDER("../inc/header")
