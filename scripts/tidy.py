# SPDX-License-Identifier: MIT
"""Runs clang-tidy over the sources of the folder build: tidy.py CACHE [--all]

Without --all, it checks only the units that a change touches: what is not committed, and what the branch's upstream
does not have. It does not check a unit again while the unit, its includes, its options and the tools are the same as
when it was clean; CACHE remembers that.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = ROOT / "build"
TIDY = "clang-tidy-19"


def said_by(*command):
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=True).stdout


def own_files(paths):
    """Those of the paths that are files of this checkout."""
    inside = (pathlib.Path(os.path.normpath(BUILD / path)) for path in paths)
    return sorted({path for path in inside if path.is_relative_to(ROOT) and not path.is_relative_to(BUILD)})


def included_files():
    """For each object file of the build, the files of this checkout that went into it."""
    files = {}
    for entry in said_by("ninja", "-C", str(BUILD), "-t", "deps").split("\n\n"):
        target, _, rest = entry.strip().partition(":")
        files[target] = own_files(line.strip() for line in rest.splitlines()[1:])
    return files


def units():
    """(path, options, files that went into it) of each unit of this checkout."""
    included = included_files()
    for entry in json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8")):
        path = pathlib.Path(entry["file"])
        if path in own_files([path]):
            output = re.search(r" -o (\S+)", entry["command"])[1]
            yield path, without_precompiled_headers(entry["command"]), included[output]


def without_precompiled_headers(command):
    """clang cannot read GCC's precompiled headers, and each file must include what it needs."""
    return re.sub(r"-Winvalid-pch|-include \S*cmake_pch\.hxx", "", command)


def changed_files():
    upstream = subprocess.run(["git", "merge-base", "HEAD", "@{upstream}"], cwd=ROOT, capture_output=True, text=True,
                              check=False).stdout.strip() or "HEAD"
    names = said_by("git", "diff", "--name-only", upstream) + said_by("git", "ls-files", "--others", "--exclude-standard")
    return {ROOT / name for name in names.splitlines()}


def tools():
    """The versions of everything outside the checkout."""
    return said_by("dpkg-query", "--show", "*-dev", TIDY)


def configuration(path):
    """What the folders of a unit say of its checks."""
    files = (folder / ".clang-tidy" for folder in path.parents if folder.is_relative_to(ROOT))
    return "".join(file.read_text(encoding="utf-8") for file in files if file.exists())


def fingerprint(path, command, files, versions):
    digest = hashlib.sha256((command.replace(str(ROOT), ".") + versions + configuration(path)).encode())
    for file in files:
        digest.update(file.read_bytes())
    return digest.hexdigest()


def complaints(path, database):
    # clang reads GCC's commands here, and its own warnings count wherever this runs. It does not know all of GCC's
    # warnings, and Asio does not know that clang has coroutines.
    added = ("-Werror", "-Wno-unknown-warning-option", "-DASIO_HAS_CO_AWAIT", "-DASIO_HAS_STD_COROUTINE")
    done = subprocess.run([TIDY, "--quiet", "-p", database, *(f"--extra-arg={option}" for option in added), path],
                          capture_output=True, text=True, check=False)
    return done.stdout + done.stderr if done.returncode else ""


def main():
    cache = pathlib.Path(sys.argv[1]) / "tidy"
    cache.mkdir(parents=True, exist_ok=True)
    database = BUILD / "tidy"
    database.mkdir(exist_ok=True)
    changed, versions = changed_files(), tools()
    wanted, commands = {}, []
    for path, command, files in units():
        commands.append({"directory": str(BUILD), "file": str(path), "command": command})
        clean = cache / fingerprint(path, command, files, versions)
        if not clean.exists() and ("--all" in sys.argv or changed.intersection(files)):
            wanted[path] = clean
    (database / "compile_commands.json").write_text(json.dumps(commands), encoding="utf-8")

    print(f"clang-tidy: {len(wanted)} of {len(commands)} files", flush=True)
    failed = False
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for (path, clean), said in zip(wanted.items(), pool.map(lambda path: complaints(path, database), wanted)):
            if said:
                failed = True
                print(said, flush=True)
            else:
                clean.touch()
    sys.exit(failed)


if __name__ == "__main__":
    main()
