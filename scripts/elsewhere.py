# SPDX-License-Identifier: MIT
"""Runs commands in a bare Debian of the given release, in a clone of this checkout's last commit.

The root has what every Debian has, git, and nothing else. What a run installs
is gone afterwards; downloaded packages and the compiler's cache are kept for
the next run, in ~/.cache/kavrin/elsewhere.

Without a command, the README's two are run one after the other. Prints a table
of what each did at the end, and ends with 1 where one failed.
"""

import argparse
import fcntl
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests"))
sys.dont_write_bytecode = True

from support.debian import KEYRING, debian_sources  # noqa: E402

CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "kavrin" / "elsewhere"
COMMANDS = [["scripts/demo"], ["scripts/test"]]
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
USER = "ada"
USER_ID = "1000"


def main():
    options = parse_options()
    if os.geteuid() != 0:
        sys.exit("elsewhere: only root can make another root: run it with sudo")
    CACHE.mkdir(parents=True, exist_ok=True)
    if options.container:  # it shares this machine's network, in which only one process can have Kavrin's port
        fcntl.flock(os.open(CACHE, os.O_RDONLY | os.O_CLOEXEC), fcntl.LOCK_EX)
    base = bare_root(options.suite)
    with tempfile.TemporaryDirectory(prefix="run-", dir=CACHE) as folder:
        machine = Machine(pathlib.Path(folder), base, options)
        rows = []
        if options.user:
            rows.append(machine.row(["scripts/setup"], user=False))
        rows += [machine.row(command, options.user) for command in ([options.command] if options.command else COMMANDS)]
    print_table(rows)
    sys.exit(any(row["exit"] for row in rows))


def parse_options():
    parser = argparse.ArgumentParser(
        prog="scripts/elsewhere", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--user", action="store_true",
                        help="as an ordinary user, for whom root has run scripts/setup")
    parser.add_argument("--container", action="store_true",
                        help="without what a container lacks: most of root's rights, new namespaces, mounts")
    parser.add_argument("--cold", action="store_true", help="with an empty cache of the compiler's")
    parser.add_argument("suite", metavar="SUITE", help="a release of Debian: bookworm, trixie, sid")
    parser.add_argument("command", metavar="COMMAND", nargs=argparse.REMAINDER,
                        help="what to run instead of the README's two commands")
    return parser.parse_args()


def bare_root(suite):
    """The folder with the bare Debian that every run begins with. The first run makes it."""
    base = CACHE / suite / "base"
    if not base.exists():
        making = base.with_suffix(".making")
        shutil.rmtree(making, ignore_errors=True)
        making.parent.mkdir(parents=True, exist_ok=True)
        sources = debian_sources(suite)
        subprocess.run(["debootstrap", "--variant=minbase", "--include=ca-certificates,git", f"--keyring={KEYRING}",
                        suite, making, sources[0].split()[1]], check=True)
        (making / "etc/apt/sources.list").write_text("".join(f"{line}\n" for line in sources), encoding="utf-8")
        # Nothing in there must survive a power cut, so nothing has to wait for the disk.
        (making / "etc/dpkg/dpkg.cfg.d/unsafe-io").write_text("force-unsafe-io\n", encoding="utf-8")
        making.rename(base)
    return base


def command_in_root(root, folder, command, binds, *options, **environment):
    """The words that run a command in a folder of the root, with mounts and processes of its own. `binds` are folders of
    this machine, each with its place there."""
    return ["unshare", "--mount", "--pid", "--fork", "--kill-child", sys.executable, "-B",
            ROOT / "scripts" / "enter_root.py", *options,
            *[f"--bind={place}:{shown_at}" for place, shown_at in binds.items()], root,
            "env", "--ignore-environment", f"PATH={PATH}", *[f"{name}={value}" for name, value in environment.items()],
            "sh", "-c", f'cd {folder} && exec "$@"', "in", *command]


class Machine:
    """A copy of the bare root, with a clone of this checkout in the home of the user who runs the commands. Root's is one
    that others can read, because some tests of root's run programs as another user."""

    def __init__(self, folder, base, options):
        self._root = folder / "root"
        self._options = options
        self._home = f"/home/{USER}" if options.user else "/srv"
        self._archives = CACHE / options.suite / "archives"
        self._ccache = folder / "ccache" if options.cold else CACHE / options.suite / "ccache"
        subprocess.run(["cp", "--archive", "--reflink=auto", base, self._root], check=True)
        for made in (self._archives, self._ccache, self._in_root(".cache/ccache")):
            made.mkdir(parents=True, exist_ok=True)
        subprocess.run(["git", "clone", "--quiet", "--no-hardlinks", ROOT, self._in_root("kavrin")], check=True)
        if options.user:
            self._add_user()

    def _in_root(self, name):
        """A path in the home of the user who runs the commands, as this machine sees it."""
        return self._root / self._home.lstrip("/") / name

    def _add_user(self):
        subprocess.run(["chroot", self._root, "useradd", "--uid", USER_ID, "--shell", "/bin/bash",
                        "--home-dir", self._home, USER], check=True)
        for folder in (self._in_root(""), self._ccache):
            subprocess.run(["chown", "--recursive", f"{USER_ID}:{USER_ID}", folder], check=True)

    def row(self, command, user):
        """Runs a command, and returns its row of the table."""
        where = ", ".join((self._options.suite, "user" if user else "root",
                           "container" if self._options.container else "plain"))
        print(f"\nelsewhere: {where}: {' '.join(command)}", flush=True)
        begin = time.monotonic()
        code, said = self._run(command, user)
        seconds = time.monotonic() - begin
        installing = sum(map(int, re.findall(r"^Packages: installed in (\d+) s", said, re.MULTILINE)))
        results = re.findall(r"^\d+ passed, \d+ failed(?:, \d+ skipped)?$", said, re.MULTILINE)
        return {"where": where, "command": " ".join(command), "exit": code, "packages": installing,
                "rest": round(seconds - installing), "tests": results[-1] if results else ""}

    def _run(self, command, user):
        """The command's exit code and its output, which is also shown as it comes."""
        options = [*(["--container"] if self._options.container else []), *(["--user", USER_ID] if user else [])]
        binds = {self._archives: "/var/cache/apt/archives", self._ccache: f"{self._home}/.cache/ccache"}
        process = subprocess.Popen(
            command_in_root(self._root, f"{self._home}/kavrin", command, binds, *options,
                            HOME=self._home if user == self._options.user else "/root", USER=USER if user else "root"),
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
        said = []
        for line in process.stdout:
            print(line, end="", flush=True)
            said.append(line)
        return process.wait(), "".join(said)


def print_table(rows):
    print("\n| Where | Command | Exit code | Packages | The rest | Tests |\n|---|---|---|---|---|---|")
    for row in rows:
        print(f"| {row['where']} | {row['command']} | {row['exit']} | {row['packages']} s | "
              f"{row['rest'] // 60} min {row['rest'] % 60} s | {row['tests']} |")


if __name__ == "__main__":
    main()
