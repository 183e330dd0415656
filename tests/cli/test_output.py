import os
import subprocess
import unittest

from support import CLI, ScratchTest


@unittest.skipUnless(os.path.exists("/dev/full"), "needs /dev/full")
class OutputFaults(ScratchTest):
    """Output that cannot be written is a failure, never a silent success."""

    def run_into(self, target, *args):
        with open(target, "w") as out:
            return subprocess.run([CLI, *args], stdout=out, stderr=subprocess.PIPE, text=True)

    def test_full_device_fails_with_a_message(self):
        template = self.write("t.kel", "{FOR i 1 3 1 {line {VAR:i}\n}}")
        cases = [
            ("classes",),                                 # a few lines, written at exit
            ("random", "{D*20}", "-n", "20000"),          # more than one buffer
            ("render", template),
        ]
        for args in cases:
            r = self.run_into("/dev/full", *args)
            self.assertTrue(r.returncode != 0 and "could not write the output" in r.stderr, (args, r.stderr))
            # the same command into a real file succeeds
            ok = self.run_into(self.path("out.txt"), *args)
            self.assertEqual((ok.returncode, ok.stderr), (0, ""), args)

