# SPDX-License-Identifier: MIT
"""A bare Debian of this machine's release, to install packages in and to run what they installed."""

import pathlib
import shutil
import subprocess
import unittest

from packages import run
from support.debian import KEYRING, debian_sources

# Whoever runs this is root in there, and nothing stays mounted. There is nobody else to give files to; fakeroot makes
# Debian's tools believe that there were.
_AS_ROOT = ("unshare", "--user", "--map-root-user", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc")
_FAKEROOT = ("env", "FAKEROOTDONTTRYCHOWN=1", "fakeroot")
_MOUNT = 'mount --rbind /dev "$0/dev" && mount --rbind /proc "$0/proc"'
_PATH = "/usr/sbin:/usr/bin:/sbin:/bin"


def need_clean_root():
    """Skips the running test where no CleanRoot can be made."""
    done = subprocess.run([*_AS_ROOT, "true"], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise unittest.SkipTest(f"a root of one's own is not permitted here: {done.stderr.strip()}")


class CleanRoot:
    """The Debian below `folder`. Downloaded packages, and the Debian before anything is done to it, are kept in the
    folder `cache`."""

    def __init__(self, folder, cache):
        self.folder = folder
        self._cache = cache

    def bootstrap(self):
        """Installs the packages that every Debian has."""
        sources = debian_sources()
        _, mirror, release, _ = sources[0].split()
        base = self._cache / f"{release}.tar"
        if base.exists():
            run("tar", "--extract", "--preserve-permissions", "--file", base, "--directory", self.folder)
        else:
            self._debootstrap(release, mirror)
            self._cache.mkdir(parents=True, exist_ok=True)
            run("tar", "--create", "--file", base.with_suffix(".part"), "--directory", self.folder, ".")
            base.with_suffix(".part").rename(base)
        configuration = self.folder / "etc" / "apt"
        (configuration / "sources.list").write_text("".join(f"{source}\n" for source in sources), encoding="utf-8")
        (configuration / "apt.conf.d" / "test").write_text(
            'APT::Sandbox::User "root";\nAPT::Keep-Downloaded-Packages "true";\nAcquire::Languages "none";\n',
            encoding="utf-8")
        self.apt_get("update")

    def _debootstrap(self, release, mirror):
        fakeroot, = pathlib.Path("/usr/lib").glob("*/libfakeroot")
        shutil.copytree(fakeroot, self.folder / fakeroot.relative_to("/"))
        dpkg = self.folder / "etc" / "dpkg" / "dpkg.cfg.d"
        dpkg.mkdir(parents=True)
        (dpkg / "test").write_text("force-unsafe-io\n", encoding="utf-8")  # nothing here must survive a power failure
        run(*_AS_ROOT, *_FAKEROOT, "debootstrap", "--variant=minbase", f"--keyring={KEYRING}", release,
            self.folder, mirror)

    def apt_get(self, *arguments):
        archives = self._cache / "archives"
        archives.mkdir(parents=True, exist_ok=True)
        script = f'{_MOUNT} && mount --bind "$1" "$0/var/cache/apt/archives" && shift && exec chroot "$0" "$@"'
        run(*_AS_ROOT, *_FAKEROOT, "sh", "-c", script, self.folder, archives,
            "/usr/bin/env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "--yes", "--quiet", *arguments)

    def run_as_user(self, script):
        """What a shell script prints, run by an ordinary user on a machine without any network, with the home
        /home/ada."""
        (self.folder / "home" / "ada").mkdir(exist_ok=True)
        enter = (f'{_MOUNT} && ip link set lo up && exec unshare --user --map-user=1000 --map-group=1000 --root="$0" '
                 f'--wd=/home/ada env --ignore-environment PATH={_PATH} HOME=/home/ada LANG=C.UTF-8 bash -euc "$1"')
        return run(*_AS_ROOT, "--net", "sh", "-c", enter, self.folder, script)

    def files(self):
        """The paths of everything in there but caches and logs, what is the user's, and what is the kernel's."""
        foreign = ("dev", "home", "proc", "sys", "tmp", "var/cache", "var/lib/apt", "var/lib/dpkg", "var/log")
        paths = (path.relative_to(self.folder) for path in self.folder.rglob("*"))
        return {str(path) for path in paths if not any(path.is_relative_to(folder) for folder in foreign)}

