# SPDX-License-Identifier: MIT
"""What the build that is tested installs, and the Debian package of it."""

import os
import pathlib
import subprocess

from support.private_session import ROOT

BUILD = pathlib.Path(os.environ.get("KAVRIN_BIN_DIR") or ROOT / "build" / "bin").parent


def run(*command, **options):
    """What a command prints; raises RuntimeError with the last that it said when it fails."""
    done = subprocess.run([str(part) for part in command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          errors="replace", check=False, **options)
    if done.returncode != 0:
        said = f"{done.stdout}\n{done.stderr}".splitlines()[-40:]
        raise RuntimeError("\n".join((f"{command} failed ({done.returncode}):", *said)))
    return done.stdout


def make_package(folder):
    """The path of the package, made in the folder as scripts/package makes it."""
    run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder)
    package, = pathlib.Path(folder).glob("kavrin_*.deb")
    return package


def install(prefix):
    """Installs the programs and all that belongs to them below the folder."""
    run("cmake", "--install", BUILD, "--prefix", prefix, "--strip")
