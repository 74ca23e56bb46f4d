# SPDX-License-Identifier: MIT
"""Where Debian's packages come from on this machine."""

import platform
import subprocess

KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"


def debian_sources(suite=None):
    """The lines of sources.list for a release (this machine's if none is named) and its updates, from the mirrors that
    apt uses on this machine. Debian's unstable has no updates."""
    own = platform.freedesktop_os_release()["VERSION_CODENAME"]
    suite = suite or own
    said = subprocess.run(["apt-get", "indextargets", "--format", "$(SITE) $(RELEASE) $(COMPONENT)",
                           "Created-By: Packages"], capture_output=True, text=True, check=True).stdout
    mirrors = {(name, component): site for site, name, component in map(str.split, said.splitlines())}
    wanted = [""] if suite in ("sid", "unstable") else ["", "-updates", "-security"]
    return [f"deb {mirrors[own + part, 'main']} {suite}{part} main" for part in wanted if (own + part, "main") in mirrors]
