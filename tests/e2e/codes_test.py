# SPDX-License-Identifier: MIT
"""Verification codes from the command line: `kavrinctl extract-code` and `save-code`, as people and automations run
them."""

import json
import select
import subprocess
import time
import unittest

from support.private_session import enter_private_namespaces, make_read_only, undo_mount
from support.suite_case import SuiteTest

MESSAGE = "Your verification code is 482 913. Do not share it."
NO_CODE = "kavrinctl: There is no verification code in the message.\n"
NOT_UTF_8 = b"code 4821 \xff\xfe"
# A code that no complaint may show.
SECRET = "4821"


class CodesTest(SuiteTest):
    def kavrinctl(self, *arguments, standard_input=b""):
        done = subprocess.run([self.session.bin / "kavrinctl", *arguments], env=self.session.env, input=standard_input,
                              capture_output=True, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()


class ExtractCode(CodesTest):
    def test_prints_the_code_in_a_message_as_json(self):
        rows = [
            (MESSAGE, '{"code":"482913","pure":false}\n'),
            ("  482913\n", '{"code":"482913","pure":true}\n'),
            ("123-456", '{"code":"123456","pure":true}\n'),
            ("Doğrulama kodunuz: 5521", '{"code":"5521","pure":false}\n'),
            ("- code 4821", '{"code":"4821","pure":false}\n'),
        ]
        for message, expected in rows:
            with self.subTest(message):
                self.assertEqual(self.kavrinctl("extract-code", message), (0, expected, ""))
                for arguments in (["extract-code"], ["extract-code", "-"]):
                    self.assertEqual(self.kavrinctl(*arguments, standard_input=message.encode()), (0, expected, ""))

    def test_says_where_there_is_none(self):
        for message in ("", " \n", "See you at seven", "Order 55213 has left", "482148214", "PIN 4821482148",
                        "code 4821 " + "a" * 600, "\0" * 10, "code 4821" * 120_000):
            with self.subTest(message[:20]):
                self.assertEqual(self.kavrinctl("extract-code", standard_input=message.encode()), (1, "", NO_CODE))
        self.assertEqual(self.kavrinctl("extract-code", ""), (1, "", NO_CODE))

    def test_reads_characters_that_a_terminal_does_not_show(self):
        expected = (0, '{"code":"4821","pure":false}\n', "")
        for message in ("code\0 4821", "\x1b[1mcode\x1b[0m 4821\a", "\u202ecode \u20664821\u2069",
                        "code 4821 \U0001f510"):
            with self.subTest(message):
                self.assertEqual(self.kavrinctl("extract-code", "-", standard_input=message.encode()), expected)

    def test_refuses_what_is_not_utf_8_without_showing_it(self):
        code, output, errors = self.kavrinctl("extract-code", standard_input=NOT_UTF_8)
        self.assertEqual((code, output), (1, ""))
        self.assertEqual(errors, "kavrinctl: Standard input is not UTF-8 text.\n")

    def test_leaves_the_suite_alone(self):
        self.session.ctl("save-code", "111111")
        before = self.session.ctl("defaults", "read")
        self.kavrinctl("extract-code", MESSAGE)
        self.assertEqual(self.session.ctl("defaults", "read"), before)

    def test_says_when_its_answer_cannot_be_written(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([self.session.bin / "kavrinctl", "extract-code", MESSAGE], env=self.session.env,
                                  stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"Standard output could not be written", done.stderr)


class ExtractCodeFromLines(CodesTest):
    def test_answers_each_line_with_a_line(self):
        lines = f"{MESSAGE}\n\nSee you at seven\r\n123-456\r\nsplit code 12\n34\nDoğrulama 5521"
        code, output, errors = self.kavrinctl("extract-code", "--lines", standard_input=lines.encode())
        self.assertEqual((code, errors), (0, ""))
        self.assertEqual([json.loads(line) for line in output.splitlines()], [
            {"code": "482913", "pure": False}, None, None, {"code": "123456", "pure": True}, None, None,
            {"code": "5521", "pure": False}])

    def test_no_line_has_no_answer(self):
        self.assertEqual(self.kavrinctl("extract-code", "--lines"), (0, "", ""))

    def test_many_and_long_lines_are_answered(self):
        lines = [MESSAGE, "x" * 1_000_000] * 3 + [MESSAGE] * 5_000
        code, output, errors = self.kavrinctl("extract-code", "--lines", standard_input="\n".join(lines).encode())
        self.assertEqual((code, errors), (0, ""))
        found = '{"code":"482913","pure":false}'
        self.assertEqual(output.splitlines(), [found, "null"] * 3 + [found] * 5_000)

    def test_a_line_is_answered_before_the_next_one_comes(self):
        with subprocess.Popen([self.session.bin / "kavrinctl", "extract-code", "--lines"], env=self.session.env,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
            for line, answer in ((b"code 4821\n", b'{"code":"4821","pure":false}\n'), (b"none\n", b"null\n")):
                process.stdin.write(line)
                process.stdin.flush()
                self.assertTrue(select.select([process.stdout], [], [], 30)[0], "no answer")
                self.assertEqual(process.stdout.readline(), answer)
            process.stdin.close()
            self.assertEqual(process.wait(), 0)

    def test_stops_at_a_line_that_is_not_utf_8_and_says_which(self):
        lines = b"code 1111\nnone\n" + NOT_UTF_8 + b"\ncode 2222\n"
        code, output, errors = self.kavrinctl("extract-code", "--lines", standard_input=lines)
        self.assertEqual((code, output), (1, '{"code":"1111","pure":false}\nnull\n'))
        self.assertEqual(errors, "kavrinctl: Line 3 of standard input is not UTF-8 text.\n")


class SaveCode(CodesTest):
    def stored(self):
        values = json.loads(self.session.ctl("defaults", "read", "--types"))
        return {key: (entry["type"], entry["value"]) for key, entry in values.items()}

    def expect_saved(self, code, pure):
        values = self.stored()
        kind, moment = values.pop("otpAt")
        self.assertEqual(kind, "double")
        self.assertLess(abs(time.time() - moment), 600)
        self.assertEqual(values, {"otpCode": ("string", code), "otpPure": ("bool", pure),
                                  "otpSource": ("string", "message"), "otpUsed": ("bool", False)})

    def test_saves_the_code_for_the_keyboard_and_says_which(self):
        for arguments, standard_input, code, pure in (
                ([MESSAGE], b"", "482913", False),
                ([], b"code 1111\n", "1111", False),
                (["-"], b"000042\n", "000042", True)):
            with self.subTest(code):
                self.assertEqual(self.kavrinctl("save-code", *arguments, standard_input=standard_input),
                                 (0, f"Stored for the keyboard: {code}\n", ""))
                self.expect_saved(code, pure)

    def test_a_new_code_is_unused(self):
        self.kavrinctl("save-code", MESSAGE)
        self.session.suite().set("otpUsed", "bool", 1)
        self.kavrinctl("save-code", MESSAGE)
        self.expect_saved("482913", False)

    def test_a_message_without_a_code_is_no_failure_and_changes_nothing(self):
        nothing = (0, "There is no verification code in the message.\n", "")
        messages = (b"", b"\n", b"See you at seven", b"\0\0", b"482148214", b"code 4821 " + b"a" * 1_000_000)
        for message in messages:
            self.assertEqual(self.kavrinctl("save-code", standard_input=message), nothing)
        self.assertEqual(self.stored(), {})
        self.kavrinctl("save-code", MESSAGE)
        before = self.stored()
        for message in messages:
            self.assertEqual(self.kavrinctl("save-code", standard_input=message), nothing)
        self.assertEqual(self.kavrinctl("save-code", ""), nothing)
        self.assertEqual(self.stored(), before)

    def test_what_is_not_utf_8_is_refused_and_the_earlier_code_stays(self):
        self.kavrinctl("save-code", MESSAGE)
        before = self.stored()
        code, output, errors = self.kavrinctl("save-code", standard_input=NOT_UTF_8)
        self.assertEqual((code, output), (1, ""))
        self.assertEqual(errors, "kavrinctl: Standard input is not UTF-8 text.\n")
        self.assertEqual(self.stored(), before)

    def test_says_when_a_code_cannot_be_saved_and_saves_it_once_it_can(self):
        self.kavrinctl("save-code", MESSAGE)
        self.bring_the_log_into_the_file()
        before = self.stored()
        make_read_only(self.folder)
        code, output, errors = self.kavrinctl("save-code", f"code {SECRET}")
        self.assertEqual((code, output), (1, ""))
        self.assertIn("The code could not be stored", errors)
        self.assertIn(str(self.path), errors)
        self.assertNotIn(SECRET, errors)
        self.assertEqual(self.kavrinctl("save-code", "See you at seven")[0], 0)
        self.assertEqual(self.stored(), before)
        undo_mount(self.folder)
        self.assertEqual(self.kavrinctl("save-code", f"code {SECRET}")[0], 0)
        self.expect_saved(SECRET, False)

    def test_several_at_once_leave_a_whole_code(self):
        codes = [str(number) * 6 for number in range(1, 9)]
        processes = [subprocess.Popen([self.session.bin / "kavrinctl", "save-code", code], env=self.session.env)
                     for code in codes]
        self.assertEqual([process.wait() for process in processes], [0] * len(codes))
        saved = self.stored()["otpCode"][1]
        self.assertIn(saved, codes)
        self.expect_saved(saved, True)


class Usage(CodesTest):
    def test_wrong_usage_is_explained_without_showing_the_message(self):
        for arguments in (["extract-code", "code", SECRET], ["extract-code", f"--{SECRET}"],
                          ["extract-code", "--lines", SECRET], ["save-code", "code", SECRET],
                          ["save-code", f"--{SECRET}"], ["save-code", "--lines"]):
            with self.subTest(arguments):
                code, output, errors = self.kavrinctl(*arguments, standard_input=b"code 1111")
                self.assertEqual((code, output), (2, ""))
                self.assertIn(f"kavrinctl {arguments[0]} [TEXT | -]", errors)
                self.assertNotIn(SECRET, errors)
        self.assertEqual(self.session.ctl("defaults", "read"), "{}")

    def test_both_verbs_explain_themselves(self):
        general = self.session.ctl("--help")
        for verb in ("extract-code", "save-code"):
            self.assertIn(f"  {verb} ", general)
            self.assertIn(f"kavrinctl {verb} [TEXT | -]", self.session.ctl(verb, "--help"))


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
