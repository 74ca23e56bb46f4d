# SPDX-License-Identifier: MIT
"""Runs a command on a machine of its own: the given folder is "/" there, as a mount point, with its own processes.

Used by scripts/elsewhere, which starts it in new namespaces of mounts and processes; whatever it mounts is gone with
them. With --container it takes away what a container lacks by default.
"""

import argparse
import errno
import os
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests"))

from support.private_session import undo_mount  # noqa: E402

# https://docs.docker.com/engine/security/: even root gets no other capabilities.
CONTAINER_CAPABILITIES = ("chown", "dac_override", "fowner", "fsetid", "kill", "setgid", "setuid", "setpcap",
                          "net_bind_service", "net_raw", "sys_chroot", "mknod", "audit_write", "setfcap")
REFUSED_CALLS = ("mount", "umount2", "pivot_root", "setns", "unshare", "move_mount", "fsopen", "open_tree")
CLONE_NEW = {"NEWNS": 0x00020000, "NEWCGROUP": 0x02000000, "NEWUTS": 0x04000000, "NEWIPC": 0x08000000,
             "NEWUSER": 0x10000000, "NEWPID": 0x20000000, "NEWNET": 0x40000000}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--container", action="store_true")
    parser.add_argument("--user", metavar="ID", help="run the command as this user")
    parser.add_argument("--bind", metavar="FOLDER:PLACE", action="append", default=[],
                        help="show a folder of this machine at a place there")
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("command", nargs=argparse.REMAINDER)
    options = parser.parse_args()

    seccomp = __import__("seccomp") if options.container else None  # while this machine's files are in sight
    mount_root(options.root, options.bind)
    if seccomp:
        refuse_namespaces(seccomp)
    command = [*limits(options), *options.command]
    os.execvp(command[0], command)


def mount_root(root, binds):
    shutil.copy("/etc/resolv.conf", root / "etc" / "resolv.conf")
    mount("--bind", root, root)
    mount("--types", "proc", "proc", root / "proc")
    mount("--types", "sysfs", "--options", "ro", "sysfs", root / "sys")
    mount("--rbind", "/dev", root / "dev")
    mount("--types", "tmpfs", "--options", "mode=1777", "shm", root / "dev/shm")
    for bind in binds:
        folder, place = bind.split(":")
        mount("--bind", folder, root / place.lstrip("/"))
    os.chdir(root)
    subprocess.run(["pivot_root", ".", "mnt"], check=True)
    os.chdir("/")
    undo_mount("/mnt")


def mount(*arguments):
    subprocess.run(["mount", *map(str, arguments)], check=True)


def refuse_namespaces(seccomp):
    """Refuses what the seccomp profile of a container refuses, from now on and for all children."""
    rules = seccomp.SyscallFilter(seccomp.ALLOW)
    refusal = seccomp.ERRNO(errno.EPERM)
    for call in REFUSED_CALLS:
        rules.add_rule(refusal, call)
    for flag in CLONE_NEW.values():
        rules.add_rule(refusal, "clone", seccomp.Arg(0, seccomp.MASKED_EQ, flag, flag))
    rules.add_rule(seccomp.ERRNO(errno.ENOSYS), "clone3")  # no filter can see its flags; programs fall back to clone
    rules.set_attr(seccomp.Attr.CTL_NNP, 0)
    rules.load()


def limits(options):
    """The words before a command that take rights away from it."""
    arguments = []
    if options.container:
        arguments.append("--bounding-set=-all," + ",".join(f"+{name}" for name in CONTAINER_CAPABILITIES))
    if options.user:
        arguments += [f"--reuid={options.user}", f"--regid={options.user}", "--init-groups"]
    return ["setpriv", *arguments] if arguments else []


if __name__ == "__main__":
    main()
