"""The TEXT module and autoescape from Python: the setting as a property, a module of its own."""
import unittest

import rykel


class TestText(unittest.TestCase):
    def test_autoescape_and_text_commands(self):
        k = rykel.cls_KEL()
        k.VARIABLES.ITEM_LET("x", "<b>Tom & 'Jerry'</b>")
        self.assertEqual((k.AUTOESCAPE_GET(), k.PROCESS("{VAR:x}")), (False, "<b>Tom & 'Jerry'</b>"))
        k.AUTOESCAPE_LET(True)
        self.assertEqual((k.AUTOESCAPE_GET(), k.SETTINGS.ITEM_GET("SYS.AUTOESCAPE")), (True, True))
        escaped = "&lt;b&gt;Tom &amp; &#39;Jerry&#39;&lt;/b&gt;"
        self.assertEqual(k.PROCESS("{VAR:x}|{TEXT:RAW VAR:x}"), escaped + "|<b>Tom & 'Jerry'</b>")
        # the module object, for a registry a host fills itself
        reg = rykel.cls_KELModules()
        reg.ADD(rykel.mod_KELText())
        self.assertEqual(reg.MODULE("text").MODULE_GET().ID_GET(), "TEXT")

