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
        self.assertEqual((page["errors"], page["cutShort"], site.RENDER("broken")["errors"][0][:22]),
                         ([], False, "pages/broken.kel:2:4: "))
        report = site.BUILD(self.dir.name, pJobs=2)
        self.assertEqual([report[k] for k in ("built", "skipped", "copied", "failed")] + [len(report["errors"])],
                         [2, 0, 1, 1, 3])
        with self.assertRaises(rykel.Error):
            site.RENDER("../inc/header")
