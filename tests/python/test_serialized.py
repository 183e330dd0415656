"""The serialized text against real PHP, and the compact form, from Python."""
import json
import os
import shutil
import subprocess
import unittest

import rykel

PHP = shutil.which("php")


def php(code, stdin=""):
    """Runs PHP code with the text on standard input; returns standard output."""
    # PHP is not ours to instrument: it runs without the sanitizer runtime the tests may preload
    env = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    out = subprocess.run([PHP, "-r", code], input=stdin.encode(), capture_output=True, check=True, env=env)
    return out.stdout.decode()


def tree(s):
    """A structure as Python values: numbered items (empty names) by index, named ones by name."""
    out = {}
    for i in range(s.BASE(), s.MAX() + 1):
        if not s.EXISTS_GET(i):
            continue
        v = s.ITEM_GET(i)
        key = s.ID_GET(i) or i
        out[key] = tree(v) if isinstance(v, rykel.cls_Structure) else v
    return out


def upper_keys(v):
    """PHP's decoded JSON as tree() gives it: names upper-case, integer keys and lists as
    numbered items, null as rykel.NULL."""
    if isinstance(v, list):
        return {i: upper_keys(x) for i, x in enumerate(v)}
    if isinstance(v, dict):
        return {(int(k) if k.isdigit() else k.upper()): upper_keys(x) for k, x in v.items()}
    return rykel.NULL if v is None else v


@unittest.skipUnless(PHP, "php is not installed")
class SerializedWithPhp(unittest.TestCase):
    def test_php_reads_what_we_write_and_writes_it_back_unchanged(self):
        s = rykel.from_python({"NAME": 'quote " semi ; brace } open { colon : end', "LINES": "one\r\ntwo\nthree",
                               "COUNT": -123456, "YES": True, "NO": False})
        for i, d in enumerate([0.1, 1e25, 1e15, 1e17, -0.0, 1.5e-7, 0.30000000000000004,
                               123456.78, 5e-324, float("inf"), float("-inf")]):
            s.ITEM_LET(f"f.d{i}", d)
        s.ITEM_LET("deep.er.still", "x")
        ours = s.SERIALIZE()
        back = php('echo serialize(unserialize(stream_get_contents(STDIN)));', ours)
        self.assertEqual(back, ours)
        # NAN compares unequal to itself in PHP too, but its text survives
        n = rykel.cls_Structure()
        n.ITEM_LET("x", float("nan"))
        self.assertEqual(php('echo serialize(unserialize(stream_get_contents(STDIN)));', n.SERIALIZE()),
                         'a:1:{s:1:"X";d:NAN;}')

    def test_what_php_cannot_take_from_us(self):
        # Null is written n:0; and lengths count characters: PHP refuses both
        s = rykel.from_python({"X": rykel.NULL})
        self.assertEqual(s.SERIALIZE(), 'a:1:{s:1:"X";n:0;}')
        for refused in (s, rykel.from_python({"X": "Grüße"})):
            self.assertEqual(php('var_export(@unserialize(stream_get_contents(STDIN)));', refused.SERIALIZE()), "false")
        # numbered items all carry the key "": PHP keeps one entry, the last
        self.assertEqual(php('echo json_encode(unserialize(stream_get_contents(STDIN)));',
                             rykel.from_python(["a", "b"]).SERIALIZE()), '{"":"b"}')

    def test_we_read_what_php_writes(self):
        code = r'''
            $a = [
              "list" => [10, 20, [1, [2, [3]]]],
              "sparse" => [5 => "five", 2 => "two"],
              "float" => 0.1, "big" => 1e25, "tiny" => 1.5e-7, "neg" => -2.5,
              "whole" => 3.0, "int" => PHP_INT_MAX, "small" => -7,
              "t" => true, "f" => false, "nothing" => null,
              "tricky" => "a\"b;c}d{e:f\r\ng",
              "utf8" => "Grüße, Zoë — 日本",
              "Ümlaut-Key" => "k",
              "empty" => "",
              "nested" => ["a" => ["b" => ["c" => "deep"]]],
            ];
            echo json_encode(["ser" => serialize($a), "json" => $a]);
        '''
        got = json.loads(php(code))
        s = rykel.STRUCT_GET().UNSERIALIZE(got["ser"])
        want = upper_keys(got["json"])
        want["INT"] = float(2**63 - 1)   # beyond 32 bits: a Double
        want["WHOLE"] = 3.0
        self.assertEqual(tree(s), want)
        self.assertIs(s.ITEM_GET("NOTHING"), rykel.NULL)
        self.assertEqual((s.ITEM_GET("LIST").HASZERO_GET(), s.ITEM_GET("SPARSE").MAX(), s.ITEM_GET("ÜMLAUT-KEY")),
                         (True, 5, "k"))

    def test_dates_and_object_forms(self):
        s = rykel.STRUCT_GET().UNSERIALIZE(php(
            'class Foo { public $a = "2024-02-29 13:05:09"; protected $b = "2024-13-45"; private $c = 1; }'
            'echo serialize(["o" => new Foo()]);'))
        a = s.ITEM_GET("O.A")
        self.assertEqual((a.year, a.month, a.day, a.hour, a.minute, a.second, s.ITEM_GET("O.B"), s.ITEM_GET("O.C")),
                         (2024, 2, 29, 13, 5, 9, "2024-13-45", 1))


class SerializedFromPython(unittest.TestCase):
    def test_members_and_errors(self):
        s = rykel.cls_Structure()
        s.UNSERIALIZE('a:2:{s:4:"NAME";s:4:"Anna";s:3:"AGE";i:7;}')
        self.assertEqual((s.ITEM_GET("name"), s.SERIALIZE()), ("Anna", 'a:2:{s:4:"NAME";s:4:"Anna";s:3:"AGE";i:7;}'))
        self.assertEqual(s.UNSERIALIZE2('i:5;s:1:"x";', 4), ("x", 12))
        with self.assertRaises(rykel.Error) as cm:
            s.UNSERIALIZE('a:1:{s:1:"A";q:1;}')
        self.assertEqual(("Invalid data type found: q" in str(cm.exception), s.COUNT()), (True, 0))

    def test_compact_round_trip_and_buffers(self):
        s = rykel.cls_Structure()
        for key, value in ((0, "zero"), ("x", 1.25), ("sub.y", "QS1:ABC")):
            s.ITEM_LET(key, value)
        text = s.SERIALIZEBINARY()
        self.assertTrue(text.startswith("QS1:"))
        r = rykel.STRUCT_GET().UNSERIALIZE(text)
        self.assertEqual(r.SERIALIZEBINARYBUFFER()[0], s.SERIALIZEBINARYBUFFER()[0])
        buf, n = s.SERIALIZEBINARYBUFFER()
        self.assertEqual(n, s.SERIALIZEBINARYCOUNT())
        buf, n2 = s.SERIALIZEBINARYBUFFER(buf, n)   # a second copy behind the first
        t = rykel.cls_Structure()
        self.assertEqual((t.UNSERIALIZEBINARYBUFFER(buf, n), t.ITEM_GET("SUB.Y"), t.HASZERO_GET()), (n2, "QS1:ABC", True))

