# SPDX-License-Identifier: MIT
"""Dictates on desktops that run without a screen, and prints a line for each case of tests/desktops/cases.py.

The desktops are those of a Debian 13, in ~/.cache/kavrin/elsewhere/trixie/desktops: GNOME and Plasma under Wayland, and
Plasma under X11. The first run makes it, which takes 6 GB and an hour. Every run installs the package of this
checkout's last commit there. Ends with 1 where a case failed.
"""

import argparse
import os
import subprocess
import sys

from elsewhere import CACHE, ROOT, bare_root, command_in_root

SUITE = "trixie"
DESKTOPS = ("gnome", "plasma", "plasma-x11")
CHECKOUT = "/srv/kavrin"  # where ordinary users can read it
PACKAGES = ("dconf-gsettings-backend", "gnome-control-center", "gnome-shell", "kwin-common", "kwin-wayland", "kwin-x11",
            "pipewire", "plasma-workspace", "wireplumber", "xdg-desktop-portal-gnome", "xdg-desktop-portal-kde")
INSTALL = "apt-get install --yes --quiet=2 --no-install-recommends"
PREPARATIONS = (
    ("scripts/setup", "demo", "test", "package"),
    ("sh", "-c", f"{INSTALL} {' '.join(PACKAGES)}"),
    ("sh", "-c", f'{INSTALL} --reinstall "$(scripts/package)"'),
    ("scripts/build", "test", "typing_field"),
    ("install", "--directory", "--mode=1777", "/tmp/.X11-unix"),  # as every start of a machine does
)


def main():
    parser = argparse.ArgumentParser(
        prog="scripts/desktops", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("desktop", nargs="?", choices=DESKTOPS, help="only this one")
    options = parser.parse_args()
    if os.geteuid() != 0:
        sys.exit("desktops: only root can make another root: run it with sudo")
    root = root_with_checkout()
    for command in PREPARATIONS:
        run(root, *command, check=True)
    wanted = [options.desktop] if options.desktop else DESKTOPS
    cases = ("/usr/bin/python3", "-B", "tests/desktops/cases.py")
    codes = [run(root, *cases, desktop).returncode for desktop in wanted]
    sys.exit(any(codes))


def root_with_checkout():
    """The folder with the Debian, which has a clone of this checkout's last commit."""
    root = CACHE / SUITE / "desktops"
    checkout = root / CHECKOUT.lstrip("/")
    if not root.exists():
        subprocess.run(["cp", "--archive", "--reflink=auto", bare_root(SUITE), root], check=True)
    if not checkout.exists():
        subprocess.run(["git", "clone", "--quiet", "--no-hardlinks", ROOT, checkout], check=True)
    git = ["git", "-C", checkout]
    subprocess.run([*git, "fetch", "--quiet", ROOT, "HEAD"], check=True)
    subprocess.run([*git, "reset", "--quiet", "--hard", "FETCH_HEAD"], check=True)
    return root


def run(root, *command, check=False):
    binds = {CACHE / SUITE / "archives": "/var/cache/apt/archives", CACHE / SUITE / "ccache": "/root/.cache/ccache"}
    for folder, place in binds.items():
        folder.mkdir(parents=True, exist_ok=True)
        (root / place.lstrip("/")).mkdir(parents=True, exist_ok=True)
    words = command_in_root(root, CHECKOUT, command, binds, HOME="/root", DEBIAN_FRONTEND="noninteractive")
    return subprocess.run(words, stdin=subprocess.DEVNULL, check=check)


if __name__ == "__main__":
    main()
