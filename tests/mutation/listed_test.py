# SPDX-License-Identifier: MIT
"""How survivors.txt is read, and that what it names is there."""

import collections
import pathlib
import tempfile
import unittest

import listed
import operators

FOLDER = pathlib.Path(__file__).parent
ROOT = FOLDER.parents[1]


def read(text):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "listed.txt")
        path.write_text(text, encoding="utf-8")
        return listed.read(path)


class ListedTest(unittest.TestCase):
    def test_counts_what_is_explained_of_each_function(self):
        self.assertEqual(read("# Why: so.\n\na/B.cpp\nf: one\nC::~C (2): two: of them\nf (3): more\n\nD.cpp\nf: one\n"),
                         {("a/B.cpp", "f"): 4, ("a/B.cpp", "C::~C"): 2, ("D.cpp", "f"): 1})

    def test_refuses_what_it_does_not_understand(self):
        for line in ("f", "f:", "f (many): why", "- return a;"):
            with self.subTest(line), self.assertRaises(SystemExit):
                read("a/B.cpp\n" + line)

    def test_the_file_explains_no_more_than_there_is(self):
        for (name, function), count in listed.read(FOLDER / "survivors.txt").items():
            with self.subTest(file=name, function=function):
                mutants = operators.mutants_of((ROOT / name).read_text(encoding="utf-8"))
                self.assertLessEqual(count, collections.Counter(mutant.function for mutant in mutants)[function])


if __name__ == "__main__":
    unittest.main()
