# SPDX-License-Identifier: MIT
"""What the last lines of a run of the tests say."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

_SUMMARY = pathlib.Path(__file__).parents[1] / "support" / "summary.py"
_SCRIPT = """\
test_b (__main__.Case.test_b) ... ok
test_c (__main__.Case.test_c) ... skipped 'no mount'
{}Ran 3 tests in 1.0s
"""
_FAILED = ("fail", "FAIL: test_a (__main__.Case.test_a)\n")


def _entry(name, status, said=""):
    return f'<testcase name="{name}" status="{status}"><system-out>{said}</system-out></testcase>'


def _script(name, status, said=""):
    return _entry(name, status, _SCRIPT.format(said))


class Summary(unittest.TestCase):
    def _expect(self, runs, *lines):
        """The lines for files of entries, each named by its path."""
        with tempfile.TemporaryDirectory() as folder:
            paths = [pathlib.Path(folder, path) for path in runs]
            for path, entries in zip(paths, runs.values()):
                path.parent.mkdir(exist_ok=True)
                path.write_text(f"<testsuite>{''.join(entries)}</testsuite>", "utf-8")
            printed = subprocess.run(
                [sys.executable, _SUMMARY, *paths], check=True, stdout=subprocess.PIPE, text=True
            ).stdout
        self.assertEqual(printed.splitlines(), list(lines))

    def test_counts_every_test_of_a_script(self):
        self._expect(
            {"a/tests.xml": [_entry("store/A", "run"), _script("e2e/b", "run")]},
            "skipped: e2e/b: test_c: no mount",
            "3 passed, 0 failed, 1 skipped",
        )

    def test_names_what_failed(self):
        self._expect(
            {"a/tests.xml": [_entry("store/A", "fail"), _script("e2e/b", *_FAILED)]},
            "failed: store/A",
            "skipped: e2e/b: test_c: no mount",
            "failed: e2e/b: test_a",
            "1 passed, 2 failed, 1 skipped",
        )

    def test_names_what_passed_only_at_the_second_try(self):
        self._expect(
            {
                "a/tests.xml": [_entry("store/A", "fail"), _script("e2e/b", *_FAILED)],
                "a/again.xml": [_entry("store/A", "run"), _script("e2e/b", "run")],
            },
            "unsteady: store/A",
            "skipped: e2e/b: test_c: no mount",
            "unsteady: e2e/b: test_a",
            "1 passed, 0 failed, 1 skipped, 2 unsteady",
        )

    def test_a_test_that_fails_twice_has_failed(self):
        self._expect(
            {"a/tests.xml": [_entry("store/A", "fail")], "a/again.xml": [_entry("store/A", "fail")]},
            "failed: store/A",
            "0 passed, 1 failed, 0 skipped",
        )

    def test_a_script_that_fails_elsewhere_at_the_second_try_has_failed(self):
        self._expect(
            {
                "a/tests.xml": [_script("e2e/b", *_FAILED)],
                "a/again.xml": [_script("e2e/b", "fail", "FAIL: test_b (__main__.Case.test_b)\n")],
            },
            "skipped: e2e/b: test_c: no mount",
            "failed: e2e/b: test_b",
            "1 passed, 1 failed, 1 skipped",
        )

    def test_what_fails_in_one_build_is_no_second_try_of_another(self):
        self._expect(
            {"a/tests.xml": [_entry("store/A", "fail")], "b/tests.xml": [_entry("store/A", "run")]},
            "failed: store/A",
            "1 passed, 1 failed, 0 skipped",
        )


if __name__ == "__main__":
    unittest.main(verbosity=2)
