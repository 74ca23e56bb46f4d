# SPDX-License-Identifier: MIT
"""Changes the protocol's code in one place at a time and looks whether a test fails."""

import argparse
import collections
import json
import pathlib
import random
import signal
import sys
import time
from dataclasses import dataclass

import listed
import operators
import workshop
from support.private_session import enter_private_namespaces

KNOWN = pathlib.Path(__file__).with_name("survivors.txt")
SURVIVED = workshop.FOLDER / "survivors.json"
LEAST = 10  # mutants of a file, however small the sample


@dataclass(frozen=True)
class Component:
    files: list
    units: list  # groups of test programs; each is built and run only when those before it have found nothing
    end_to_end: list  # scripts of tests/e2e that reach the files in the application


COMPONENTS = [
    Component(["KavriniOS/store/*.cpp"],
              [["store_tests"], ["kavrinctl_tests"]],
              ["suite_test.py", "suite_damage_test.py"]),
    Component(["KavriniOS/transcription/*.cpp"],
              [["transcription_tests"]],
              ["dictation_test.py", "faults_test.py"]),
    Component(["KavriniOS/dictation/DictationBridge.cpp", "KavriniOS/dictation/Recorder.cpp"],
              [["dictation_tests"], ["dictation_faults_tests", "dictation_concurrency_tests"]],
              ["dictation_test.py", "loopback_test.py", "faults_test.py"]),
    Component(["KavriniOS/loopback/*.cpp"],
              [["loopback_tests"], ["dictation_concurrency_tests"]],
              ["loopback_test.py", "keyboard_test.py"]),
    Component(["KavriniOS/platform/linux/storage/UserDefaults.cpp", "KavriniOS/platform/linux/storage/Sqlite*.cpp"],
              [["storage_tests"], ["storage_disk_tests", "store_tests"]],
              ["suite_test.py", "suite_damage_test.py"]),
    Component(["KavriniOS/platform/linux/network/PeerUser.cpp"],
              [["peer_user_tests"], ["loopback_tests"]],
              ["loopback_test.py"]),
]


def main():
    arguments = parse_arguments()
    enter_private_namespaces()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended by a signal"))
    workshop.FOLDER.mkdir(exist_ok=True)
    print("Copying, configuring", flush=True)
    workshop.copy_tree()
    workshop.configure()
    run = Run(arguments)
    for component in COMPONENTS:
        files = {name: mutants for name, mutants in run.chosen.items() if mutants and name in sources_of(component)}
        if files:
            run.mutate(component, files)
    sys.exit(run.report())


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="scripts/mutate",
        description="Changes the code of settings, suite, dictation, transcription and loopback server in one place "
        "at a time, in a copy of the tree, and looks whether a test fails. Exits with 1 where a change went unnoticed that "
        "tests/mutation/survivors.txt does not explain.")
    parser.add_argument("--sample", type=int, metavar="N", help="how many changes to try; all, where it is left out")
    parser.add_argument("--seed", type=int, default=1, metavar="S", help="another number chooses another sample")
    parser.add_argument("--minutes", type=float, default=float("inf"), metavar="M", help="try no more after that time")
    parser.add_argument("--unit-only", action="store_true", help="leave the end-to-end tests out")
    parser.add_argument("--again", action="store_true", help="try those that the last run found unnoticed")
    parser.add_argument("files", nargs="*", metavar="FILE", help="such as KavriniOS/store/Prefs.cpp")
    arguments = parser.parse_args()
    all_files = [name for component in COMPONENTS for name in sources_of(component)]
    unknown = set(arguments.files) - set(all_files)
    if unknown:
        parser.error(f"not among the files: {', '.join(sorted(unknown))}. These are: {', '.join(all_files)}")
    arguments.files = arguments.files or all_files
    return arguments


def sources_of(component):
    paths = [path for pattern in component.files for path in sorted(workshop.ROOT.glob(pattern))]
    return [str(path.relative_to(workshop.ROOT)) for path in paths]


def key_of(name, mutant):
    return [name, mutant.original, mutant.mutated, mutant.occurrence]


class Run:
    """What is tried, and what came of it."""

    def __init__(self, arguments):
        self._known = listed.read(KNOWN)
        self._end = time.monotonic() + arguments.minutes * 60
        self._with_end_to_end = not arguments.unit_only
        self._counts = {name: collections.Counter() for name in arguments.files}
        self._survivors = collections.defaultdict(list)  # mutants by (file, function)
        self._choose(arguments)

    def _choose(self, arguments):
        """Decides in which order each file's mutants are tried, and after how many that compile to stop."""
        again = json.loads(SURVIVED.read_text(encoding="utf-8")) if arguments.again else None
        self._tries_all = again is None
        self.chosen = {}
        for name in arguments.files:
            mutants = operators.mutants_of((workshop.SOURCE / name).read_text(encoding="utf-8"))
            if again is not None:
                mutants = [mutant for mutant in mutants if key_of(name, mutant) in again]
            self.chosen[name] = random.Random(f"{arguments.seed} {name}").sample(mutants, len(mutants))
        total = sum(map(len, self.chosen.values()))
        share = (arguments.sample or total) / max(total, 1)
        self._wanted = {name: max(LEAST, round(share * len(mutants))) for name, mutants in self.chosen.items()}

    def mutate(self, component, files):
        print(f"Building and running the tests of {', '.join(component.files)}, nothing changed", flush=True)
        stages = self._stages(component)
        for name in files:
            path = workshop.SOURCE / name
            unchanged = path.read_text(encoding="utf-8")
            print(f"{name}: {min(self._wanted[name], len(files[name]))} of {len(files[name])}", flush=True)
            try:
                for mutant in files[name]:
                    if self._counts[name]["mutants"] == self._wanted[name] or time.monotonic() > self._end:
                        break
                    path.write_text(mutant.text, encoding="utf-8")
                    self._try(name, mutant, stages)
            finally:
                path.write_text(unchanged, encoding="utf-8")

    def _stages(self, component):
        """What each mutant is put to, by its kind, in this order."""
        stages = []
        for programs in component.units:
            build_or_exit(programs)
            tests = [test for program in programs for test in workshop.unit_tests(program)]
            stages.append(("unit", workshop.Stage(programs, tests, at_once=2)))
        if self._with_end_to_end:
            build_or_exit(workshop.PROGRAMS)
            scripts = [workshop.end_to_end_test(script) for script in component.end_to_end]
            stages.append(("end-to-end", workshop.Stage(workshop.PROGRAMS, scripts, at_once=1)))
        failing = [test for _, stage in stages for test in stage.failing_unchanged()]
        if failing:
            raise SystemExit("These tests fail although nothing is changed:\n" + "\n".join(failing))
        return stages

    def _try(self, name, mutant, stages):
        place = name, mutant.function
        for kind, stage in stages:
            if kind == "end-to-end" and len(self._survivors[place]) < self._known[place]:
                break
            if not workshop.build(stage.targets):
                self._counts[name].update(["no C++"])
                return
            failed = stage.first_failure()
            if failed:
                self._counts[name].update(["mutants", kind])
                print(f"  found by {failed}: {mutant.original} -> {mutant.mutated}", flush=True)
                return
        self._survivors[place].append(mutant)
        is_known = len(self._survivors[place]) <= self._known[place]
        self._counts[name].update(["mutants", "known" if is_known else "unnoticed"])
        print(f"  {'known' if is_known else 'UNNOTICED'} {described(name, mutant)}", flush=True)

    def report(self):
        """Prints the figures; returns the exit code."""
        columns = ("no C++", "mutants", "unit", "end-to-end", "known", "unnoticed")
        print(f"\n{'':48}{''.join(f'{column:>12}' for column in columns)}")
        for name, counts in [*self._counts.items(), ("all", sum(self._counts.values(), collections.Counter()))]:
            print(f"{name:48}{''.join(f'{counts[column]:12}' for column in columns)}")
        # Which of a function's are those that are explained is for a person to see.
        unexplained = [(name, mutant) for (name, function), mutants in self._survivors.items()
                       if len(mutants) > self._known[name, function] for mutant in mutants]
        for name, function in self._noticed():
            print(f"{name}, {function}: tests/mutation/survivors.txt explains more than goes unnoticed")
        SURVIVED.write_text(json.dumps([key_of(name, mutant) for name, mutant in unexplained]), encoding="utf-8")
        if unexplained:
            print("\nThese went unnoticed, in functions of which tests/mutation/survivors.txt explains fewer. Write a "
                  "test for each, or say there why there can be none:\n")
            print("\n".join(described(name, mutant) for name, mutant in unexplained))
        return int(bool(unexplained))

    def _noticed(self):
        """The functions of which too much is explained, of those whose file was tried whole."""
        tried = {name for name, mutants in self.chosen.items()
                 if self._counts[name]["mutants"] + self._counts[name]["no C++"] == len(mutants)}
        return [place for place, count in self._known.items()
                if self._tries_all and place[0] in tried and len(self._survivors[place]) < count]


def described(name, mutant):
    return f"{name}:{mutant.line}, {mutant.function}: {mutant.original} -> {mutant.mutated}"


def build_or_exit(targets):
    if not workshop.build(targets):
        raise SystemExit(f"{', '.join(targets)} cannot be built; {workshop.FOLDER / 'build.log'} says why.")


if __name__ == "__main__":
    main()
