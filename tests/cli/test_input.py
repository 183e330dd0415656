"""What the program reads: hostile structure texts are refused with the readers' messages, and what
it writes stays valid. Endless input: test_program.py and Limits_test in mdl_Limits_test.cpp."""
import json
import unittest

from support import ok, run


class HostileStructures(unittest.TestCase):
    def test_json_view_escapes_text_that_is_not_utf8(self):
        # PHP's Latin-1 text: the bytes E4 F6 ("äö"), then valid UTF-8 "ü", then a stray 0x80
        r = ok("struct", "show", "--json", "-", stdin=b'a:1:{s:1:"A";s:5:"\xe4\xf6\xc3\xbc\x80";}')
        text = r.stdout.decode("utf-8")  # strict: raises on raw bytes
        # each stray byte as its Latin-1 character
        self.assertEqual(('"äöü\x80"' in text, json.loads(text)), (True, {"A": "äöü\x80"}))

    def test_smallest_php_integer_and_overlong_hex(self):
        r = ok("struct", "show", "--json", "-", stdin=b'a:1:{s:1:"N";i:-9223372036854775808;}')
        self.assertEqual(json.loads(r.stdout), {"N": -9223372036854775808})
        r = run("render", "-e", "{VAR a #ffffffff}[{VAR:a}]|{VAR b #ffffffffffffffffffffffff}[{VAR:b}]")
        self.assertTrue(r.stdout.startswith("[-1]|ERR:---Could not execute: VAR b #ffffffffffffffffffffffff---")
                        and "[-1]" not in r.stdout[4:], r.stdout)
