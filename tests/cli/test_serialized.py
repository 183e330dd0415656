import unittest

from support import run

TEXT = 'a:2:{s:4:"name";s:4:"Anna";s:3:"sub";a:1:{i:0;b:1;}}'


class SerializedCommands(unittest.TestCase):
    def test_check_plain_and_compact(self):
        r = run("serialized", "check", "-", stdin=TEXT)
        self.assertEqual((r.returncode, r.stdout), (0, "OK: 2 items, 3 in the whole tree\n"), r.stderr)
        plain = run("serialized", "plain", stdin=TEXT).stdout
        self.assertEqual(plain, 'a:2:{s:4:"NAME";s:4:"Anna";s:3:"SUB";a:1:{s:0:"";b:1;}}')
        compact = run("serialized", "compact", stdin=TEXT).stdout
        self.assertEqual((compact[:4], run("serialized", "plain", stdin=compact).stdout), ("QS1:", plain))

    def test_bad_text_fails_with_the_message(self):
        r = run("serialized", "check", stdin="a:1:{s:1:\"A\";z:0;}")
        self.assertTrue(r.returncode != 0 and "Invalid data type found: z" in r.stderr, r.stderr)

