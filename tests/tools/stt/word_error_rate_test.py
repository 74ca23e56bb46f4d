# SPDX-License-Identifier: MIT
"""Tests of tests/support/word_error_rate.py."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))
from word_error_rate import WordErrorRate, word_error_rate, words  # noqa: E402


class Words(unittest.TestCase):
    def test_ignore_case_and_punctuation_and_unite_spellings(self):
        for text, expected in [
            ("", []),
            ("  Go forward, TEN meters! ", ["go", "forward", "ten", "meters"]),
            ("it’s Mr. Dashwood's", ["it's", "mister", "dashwood's"]),
            ("cold-hearted 'quoted'", ["cold", "hearted", "quoted"]),
        ]:
            with self.subTest(text):
                self.assertEqual(words(text), expected)


class Rate(unittest.TestCase):
    def test_counts_the_fewest_words_to_change(self):
        for spoken, heard, errors in [
            ("ten of clubs", "ten of clubs", 0),
            ("ten of clubs", "ten clubs", 1),
            ("ten of clubs", "ten of the clubs", 1),
            ("ten of clubs", "tennis clubs", 2),
            ("ten of clubs", "", 3),
            ("ten", "one two three", 3),
            ("a b c d", "b c d e", 2),
        ]:
            with self.subTest(heard=heard):
                self.assertEqual(word_error_rate(spoken, heard), WordErrorRate(errors, len(spoken.split())))

    def test_adds_up_word_by_word(self):
        total = WordErrorRate(1, 2) + WordErrorRate(0, 8)
        self.assertEqual(total.rate, 0.1)
        self.assertEqual(str(total), "10.0 % (1 of 10 words)")

    def test_refuses_a_rate_without_spoken_words(self):
        with self.assertRaises(ValueError):
            WordErrorRate().rate


if __name__ == "__main__":
    unittest.main()
