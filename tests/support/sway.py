# SPDX-License-Identifier: MIT
"""A session of its own under sway."""

import os
import subprocess

from support.private_session import ANOTHER_USER, PrivateSession


def become_ordinary_user():
    """Sway refuses to run as root, and a session has one user. There is no way back."""
    if os.geteuid() == 0:
        os.setgroups([])
        os.setresgid(ANOTHER_USER, ANOTHER_USER, ANOTHER_USER)
        os.setresuid(ANOTHER_USER, ANOTHER_USER, ANOTHER_USER)


class SwaySession(PrivateSession):
    """A session whose display is sway without a screen, with these lines in its configuration. Sway runs in the
    session, as after a login. Needs an ordinary user."""

    def __init__(self, *lines):
        super().__init__(display=True)
        self._lines = lines

    def _start_display(self):
        self.env |= {"PATH": f"{self.bin}:{self.env['PATH']}", "WLR_BACKENDS": "headless",
                     "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
        configuration = self.folder / "sway.conf"
        configuration.write_text("\n".join(["xwayland disable", *self._lines, "exec printenv WAYLAND_DISPLAY", ""]),
                                 encoding="utf-8")
        self.sway = self.start("sway", "--config", configuration, stderr=subprocess.DEVNULL)
        self.env["WAYLAND_DISPLAY"] = self.sway.stdout.readline().strip()
        self.env["QT_QPA_PLATFORM"] = "wayland"
        # The keyboard of the desk, at which nobody types.
        self.start("wtype", "-s", "6000000", "x", stdout=subprocess.DEVNULL)
