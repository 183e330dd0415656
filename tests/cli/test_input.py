"""What the program reads: every file and standard input stops at INPUT.SIZE.MAX, hostile structure
texts are refused with the readers' messages, and what it writes stays valid."""
import json
import os
import resource
import subprocess
import tempfile
import unittest

CLI = os.environ.get("RYKEL_CLI", "rykel")
SANITIZED = "asan" in os.environ.get("LD_PRELOAD", "")


def run(*args, stdin=None, cap=None):
    def limit():
        if cap:  # an address-space cap stands for a machine with that much memory
            resource.setrlimit(resource.RLIMIT_AS, (cap, cap))
    return subprocess.run([CLI, *args], capture_output=True, stdin=stdin, preexec_fn=limit)


class EndlessInput(unittest.TestCase):
    @unittest.skipIf(SANITIZED, "the sanitizer reserves more address space than the cap allows")
    def test_files_and_stdin_stop_at_the_input_limit(self):
        too_large = "is larger than INPUT.SIZE.MAX (1073741824 bytes)"
        for args in (("serialized", "check", "/dev/zero"), ("render", "-e", "x", "--struct", "S=/dev/zero")):
            r = run(*args, cap=4 << 30)
            self.assertEqual(r.returncode, 1, args)
            self.assertIn("File '/dev/zero' " + too_large, r.stderr.decode(), args)
        with open("/dev/zero", "rb") as zero:
            r = run("serialized", "check", "-", stdin=zero, cap=4 << 30)
        self.assertEqual(r.returncode, 1)
        self.assertIn("Standard input " + too_large, r.stderr.decode())


class HostileStructures(unittest.TestCase):
    def test_script_form_unused_slots_are_bounded(self):
        blocks = "{\n[1024] = 1\n}\n" * 3000  # 45 kB asking for 3 million empty slots
        with tempfile.TemporaryDirectory() as d:
            f = os.path.join(d, "s.txt")
            with open(f, "w") as fh:
                fh.write(blocks)
            for args in (("struct", "show", "--from", "script", f), ("render", "-e", "x", "--struct", "S=" + f)):
                r = run(*args)
                self.assertEqual(r.returncode, 1, args)
                self.assertIn("numbered items leave too many unused items", r.stderr.decode(), args)

    def test_json_view_escapes_text_that_is_not_utf8(self):
        # PHP's Latin-1 text: the bytes E4 F6 ("äö"), then valid UTF-8 "ü", then a stray 0x80
        php = b'a:1:{s:1:"A";s:5:"\xe4\xf6\xc3\xbc\x80";}'
        r = subprocess.run([CLI, "struct", "show", "--json", "-"], input=php, capture_output=True)
        self.assertEqual(r.returncode, 0, r.stderr)
        text = r.stdout.decode("utf-8")  # strict: raises on raw bytes
        self.assertIn('"äöü\x80"', text)  # each stray byte as its Latin-1 character
        self.assertEqual(json.loads(text), {"A": "äöü\x80"})

    def test_smallest_php_integer_and_overlong_hex(self):
        r = subprocess.run([CLI, "struct", "show", "--json", "-"], input=b'a:1:{s:1:"N";i:-9223372036854775808;}',
                           capture_output=True)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual(json.loads(r.stdout), {"N": -9223372036854775808})
        r = run("render", "-e", "{VAR a #ffffffff}[{VAR:a}]|{VAR b #ffffffffffffffffffffffff}[{VAR:b}]")
        self.assertTrue(r.stdout.startswith(b"[-1]|ERR:---Could not execute: VAR b #ffffffffffffffffffffffff---"),
                        r.stdout)
        self.assertNotIn(b"[-1]", r.stdout[4:])


if __name__ == "__main__":
    unittest.main()
