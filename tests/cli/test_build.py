import os
import shutil

from support import ROOT, ScratchTest, run


class BuildTest(ScratchTest):
    def test_the_example_site_builds_as_render_renders_it(self):
        site, out = self.path("site"), self.path("out")
        shutil.copytree(os.path.join(ROOT, "examples", "site"), site)
        r = run("build", site, out, "-j", "2")
        # the example's broken page is tried and listed; the others are written all the same
        self.assertEqual((r.returncode, r.stdout), (1, f"2 pages built, 0 unchanged, 1 files copied to {out}\n"), r.stderr)
        lines = r.stderr.splitlines()
        self.assertEqual((lines[0].startswith("pages/broken.kel:2:4: IF requires"), lines[-1]),
                         (True, "rykel build: 1 of the pages had errors"), lines)
        page = run("render", "--struct", "team=" + os.path.join(site, "data", "team.ser"), "-d", site,
                   os.path.join(site, "pages", "index.kel"))
        with open(os.path.join(out, "index.html"), encoding="utf-8") as f:
            self.assertEqual(f.read(), page.stdout)
        self.assertTrue(os.path.exists(os.path.join(out, "site.css")))

        os.remove(os.path.join(site, "pages", "broken.kel"))
        r = run("build", site, out, "--quiet")
        self.assertEqual((r.returncode, r.stdout, r.stderr), (0, "", ""))
        self.assertEqual(run("build", site, out).stdout, f"0 pages built, 1 unchanged, 0 files copied to {out}\n")
        for args, code, message in (((os.path.join(site, "inc"), out), 1, "is no site: it has no folder pages/"),
                                    ((site, out, "--db", "nope.ry-dbb"), 1, "DB file 'nope.ry-dbb' does not exist"),
                                    ((site, out, "-j", "-1"), 2, "not in range")):
            r = run("build", *args)
            self.assertEqual((r.returncode, message in r.stderr), (code, True), (args, r.stderr))
