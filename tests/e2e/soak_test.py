# SPDX-License-Identifier: MIT
"""A short soak: each kind of dictation and of mishap once, and some more. scripts/soak does the same for longer."""

import os
import subprocess
import sys
import unittest

from support.private_session import ROOT

SEED = "1"


class Soak(unittest.TestCase):
    def test_loses_nothing_and_leaves_nothing_behind(self):
        done = subprocess.run([sys.executable, "-B", ROOT / "tests/soak/soak.py", "0.2", "--seed", SEED],
                              env={"KAVRIN_BIN_DIR": str(ROOT / "build/bin"), **os.environ}, capture_output=True,
                              text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
