# SPDX-License-Identifier: MIT
"""The manual and the completion of the programs say what the programs do."""

import os
import pathlib
import re
import unittest

from packages import BUILD, run
from support.private_session import ROOT, PrivateSession

PROGRAMS = ("kavrin", "kavrinctl", "kavrin-stt", "kavrin-typist")
COMPLETIONS = ROOT / "packaging" / "completions"
COMPLETION = COMPLETIONS / "kavrinctl"


def page(name):
    return ROOT / "packaging" / "man" / f"{name}.1"


def plain(name):
    """The page without the overstrikes that make letters bold."""
    return re.sub(r".\x08", "", run("mandoc", "-T", "ascii", "-O", "width=200", page(name)))


def help_of(program, *verb):
    return run(BUILD / "bin" / program, *verb, "--help", env=os.environ | {"QT_QPA_PLATFORM": "offscreen"})


def forms(verb):
    """How the verb is used, one form each."""
    return re.findall(rf"^  kavrinctl ({verb}\b.*)$", help_of("kavrinctl", verb), re.MULTILINE)


def verbs():
    return re.findall(r"^  (\S+) +\S", help_of("kavrinctl"), re.MULTILINE)


def options(usage):
    return set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", usage))


class Manual(unittest.TestCase):
    def test_every_page_is_well_formed(self):
        for name in PROGRAMS:
            with self.subTest(name):
                run("mandoc", "-T", "lint", "-W", "warning", page(name))

    def test_every_option_stands_in_the_page_of_its_program(self):
        for name in PROGRAMS:
            with self.subTest(name):
                self.assertEqual(options(help_of(name)) - options(plain(name)), set())

    def test_every_verb_stands_in_the_page_with_its_words_and_options(self):
        manual = plain("kavrinctl")
        for verb in verbs():
            for form in forms(verb):
                words = re.findall(r"-?-?[a-z][a-z-]*", form)
                with self.subTest(form):
                    lines = "\n".join(line for line in manual.splitlines() if re.match(rf" +{verb}\b", line))
                    self.assertEqual([word for word in words if word not in lines], [])


class Completion(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"

    def complete(self, *words):
        """What bash offers for the last of the words after kavrinctl."""
        script = ('source "$0"; COMP_WORDS=(kavrinctl "$@"); COMP_CWORD=$#; '
                  'function=$(complete -p kavrinctl | sed "s/.*-F //; s/ .*//"); '
                  '"$function" kavrinctl "${@: -1}" "${COMP_WORDS[COMP_CWORD - 1]}" 2>/dev/null; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        return self.session.run("bash", "-c", script, COMPLETION, *words).stdout.split()

    def test_bash_understands_it(self):
        self.session.run("bash", "-n", COMPLETION)

    def test_it_offers_every_verb_and_no_other(self):
        offered = [word for word in self.complete("") if not word.startswith("-")]
        self.assertEqual(sorted(offered), sorted([*verbs(), "help"]))

    def test_it_offers_the_words_of_every_verb(self):
        for verb in verbs():
            with self.subTest(verb):
                words = re.findall(r"(?<= )[a-z]+", " ".join(form.removeprefix(verb) for form in forms(verb)))
                self.assertEqual(set(words) - set(self.complete(verb, "")), set())

    def test_it_offers_the_options_of_every_verb_and_no_other(self):
        for verb in verbs():
            with self.subTest(verb):
                subverbs = {"defaults": ("read", "write"), "dictate": ("status", "wait"), "setup": ("server",)}.get(verb, ())
                lines = [("",), *((subverb, "") for subverb in subverbs), ("rowH", "-"), ("write", "rowH", "-")]
                offered = {word for line in lines for word in self.complete(verb, *line) if word.startswith("--")}
                self.assertEqual(offered - {"--help"}, options(" ".join(forms(verb))))

    def test_it_completes_what_has_been_begun(self):
        for words, offered in (
                (("wa",), ["watch-messages"]),
                (("get", "row"), ["rowH"]),
                (("reset", "rowH", "vG"), ["vGap"]),
                (("set", "hints", ""), ["off", "numbers", "all", "-"]),
                (("set", "trail", "t"), ["true"]),
                (("set", "rowH", ""), ["-"]),
                (("dictate", "st"), ["start", "stop", "status"]),
                (("defaults", "write", "key", "--d"), ["--double", "--date", "--data"]),
                (("tools", "set", "emoji,gi"), ["emoji,gif"]),
        ):
            with self.subTest(words):
                self.assertEqual(self.complete(*words), offered)

    def test_it_completes_files_to_transcribe(self):
        path = pathlib.Path(self.session.folder) / "speech.wav"
        path.touch()
        self.assertEqual(self.complete("transcribe", str(path)[:-4]), [str(path)])


class OtherShells(unittest.TestCase):
    """The same words in zsh and fish."""

    LINES = (
        (("wa",), {"watch-messages"}),
        (("get", "row"), {"rowH"}),
        (("set", "hints", ""), {"off", "numbers", "all", "-"}),
        (("dictate", "st"), {"start", "stop", "status"}),
        (("help", "ca"), {"catalogue"}),
    )

    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.session.env["PATH"] = f"{self.session.bin}:{os.environ['PATH']}"

    def run_in(self, shell, *arguments):
        return self.session.run(shell, *arguments).stdout.splitlines()

    def test_zsh_offers_them(self):
        # The functions of zsh's completion system stand for themselves: they print what they are given.
        script = ('_describe() { local -a given=("${(@P)2}"); print -rl -- "${(@)given%%:*}"; }; _files() { print files; }; '
                  'file=$1; shift; words=(kavrinctl "$@"); CURRENT=$#words; source $file')
        for words, offered in self.LINES:
            with self.subTest(words):
                lines = self.run_in("zsh", "-fc", script, "zsh", COMPLETIONS / "_kavrinctl", *words)
                self.assertEqual({line for line in lines if line.startswith(words[-1])}, offered)

    def test_fish_offers_them(self):
        script = 'source $argv[1]; complete --do-complete "$argv[2..-1]"'
        for words, offered in self.LINES:
            with self.subTest(words):
                lines = self.run_in("fish", "--no-config", "-c", script, COMPLETIONS / "kavrinctl.fish", "kavrinctl", *words)
                self.assertEqual({line.split("\t")[0] for line in lines}, offered)


if __name__ == "__main__":
    unittest.main(verbosity=2)
