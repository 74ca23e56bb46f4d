# SPDX-License-Identifier: MIT
"""Sessions of the desktops that most people have, without a screen."""

import pathlib
import re
import subprocess
from typing import NamedTuple

from hands import GnomeHands, PlasmaHands, X11Hands
from support.desktop import Bus
from support.private_session import PrivateSession, wait_until

SOCKET = "wayland-desktop"
PLASMA = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "6"}


class Question(NamedTuple):
    """A dialog of the desktop."""
    title: str
    yes: tuple  # the combinations of keys that accept it, one after the other


class DesktopSession(PrivateSession):
    """A session of the packages that are installed here. The subclass names what is peculiar to a desktop. Needs an
    ordinary user."""

    ENVIRONMENT = {}
    SHORTCUT_QUESTION = None  # none where the desktop asks nothing
    TYPING_QUESTION = None
    PORTAL = ""  # the part of the desktop's portal that is the desktop's own
    CLIPBOARD = ()  # prints what is on it

    def __init__(self):
        super().__init__(bin_dir="/usr/bin", display=True)

    def _make_environment(self):
        """That of programs of the session, which the bus starts, too."""
        return super()._make_environment() | {
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "GTK_A11Y": "atspi",  # for active_window.py
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder}/run/system-bus", **self.ENVIRONMENT}

    def _start_display(self):
        self._start_system_bus()
        self._start_desktop()
        self._start_portal()

    def _start_desktop(self):
        """Returns when it has begun. Sets up self.hands."""
        raise NotImplementedError

    def _tell_bus(self, *variables):
        """Programs that the bus starts from now on have them."""
        self.run("dbus-update-activation-environment", *variables)

    def _start_portal(self):
        """One that the desktop asked for something before it was ready offers nothing of the desktop's. Waits until
        the new one has taken its place: questions to the old one get no answer."""
        portal = self.start("/usr/libexec/xdg-desktop-portal", "--replace", stderr=subprocess.DEVNULL)
        bus = Bus(self)
        wait_until(lambda: bus.process_of("org.freedesktop.portal.Desktop") == portal.pid, "the portal has begun")

    def _start_system_bus(self):
        """With a login manager, without which GNOME ends at once."""
        bus = self.start("dbus-daemon", "--session", "--nofork", "--print-address",
                         f"--address={self.env['DBUS_SYSTEM_BUS_ADDRESS']}", stderr=subprocess.DEVNULL)
        bus.stdout.readline()
        self.start("/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind", stdout=subprocess.DEVNULL)
        self.run("gdbus", "wait", "--system", "--timeout", "60", "org.freedesktop.login1")

    def lock(self):
        name = "org.freedesktop.ScreenSaver"
        Bus(self).call(name, "/org/freedesktop/ScreenSaver", name, "Lock")


class WaylandSession(DesktopSession):
    COMMAND = ()  # its compositor
    CLIPBOARD = ("wl-paste", "--no-newline")

    def _make_environment(self):
        return super()._make_environment() | {
            "XDG_SESSION_TYPE": "wayland", "WAYLAND_DISPLAY": SOCKET, "QT_QPA_PLATFORM": "wayland"}

    def _start_desktop(self):
        log = self.folder / "desktop.log"
        with log.open("w", encoding="utf-8") as output:
            self.start("env", "--unset=WAYLAND_DISPLAY", "--unset=QT_QPA_PLATFORM", *self.COMMAND, stdout=output,
                       stderr=subprocess.STDOUT)
        wait_until((pathlib.Path(self.env["XDG_RUNTIME_DIR"]) / SOCKET).exists, "the desktop has begun", limit=60)


class Gnome(WaylandSession):
    ENVIRONMENT = {"XDG_CURRENT_DESKTOP": "GNOME", "GSK_RENDERER": "cairo"}
    COMMAND = ("gnome-shell", "--headless", "--virtual-monitor", "1024x768", "--wayland-display", SOCKET)
    SHORTCUT_QUESTION = Question("Add Keyboard Shortcuts", (("tab",), ("shift", "tab"), ("shift", "tab"), ("enter",)))
    # "Allow Remote Interaction", then "Share".
    TYPING_QUESTION = Question("Remote Desktop", (("tab",), ("space",), ("shift", "tab"), ("shift", "tab"), ("enter",)))
    PORTAL = "org.freedesktop.impl.portal.desktop.gnome"

    def _start_desktop(self):
        super()._start_desktop()
        self.run("gdbus", "wait", "--session", "--timeout", "60", "org.gnome.Mutter.RemoteDesktop")
        self.hands = GnomeHands(self)
        wait_until(self._is_overview, "GNOME shows its overview, in which it begins", limit=60)
        wait_until(self._leaves_overview, "GNOME leaves its overview", limit=60, interval=2)
        self._tell_of_xwayland()

    def _tell_of_xwayland(self):
        """As gnome-session does: Xwayland starts when a program asks for it."""
        log = (self.folder / "desktop.log").read_text(encoding="utf-8", errors="replace")
        self.env["DISPLAY"] = re.search(r"Using public X11 display (:\d+)", log)[1]
        self.env["XAUTHORITY"] = str(next(pathlib.Path(self.env["XDG_RUNTIME_DIR"]).glob(".mutter-Xwaylandauth.*")))
        self._tell_bus("DISPLAY", "XAUTHORITY")

    def lock(self):
        """GNOME locks only what its display manager has started. So the login manager says that it is locked."""
        manager = "org.freedesktop.login1"
        self.run("gdbus", "call", "--system", "--dest", manager, "--object-path", "/org/freedesktop/login1",
                 "--method", "org.freedesktop.DBus.Mock.AddObject", "/org/freedesktop/login1/session/auto",
                 f"{manager}.Session", "{'LockedHint': <true>}", "[]")

    def _is_overview(self):
        return Bus(self).get("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell", "OverviewActive")

    def _leaves_overview(self):
        """GNOME heeds this key only when it has begun. Escape would end the animation of its beginning, and with it
        every shortcut until the next login."""
        is_left = not self._is_overview()
        if not is_left:
            self.hands.tap("super")
        return is_left


class Plasma(WaylandSession):
    ENVIRONMENT = PLASMA | {"KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1"}
    COMMAND = ("kwin_wayland", "--virtual", "--socket", SOCKET)
    TYPING_QUESTION = Question("Remote control requested", (("enter",),))
    PORTAL = "org.freedesktop.impl.portal.desktop.kde"

    def _start_desktop(self):
        super()._start_desktop()
        self.hands = PlasmaHands(self)


class PlasmaX11(DesktopSession):
    """Under X11, programs of their own do what KWin does alone under Wayland: window manager, shortcuts, lock."""

    ENVIRONMENT = PLASMA | {"XDG_SESSION_TYPE": "x11"}
    PROGRAMS = {"org.kde.KWin": "bin/kwin_x11", "org.kde.kglobalaccel": "lib/*/libexec/kglobalacceld",
                "org.freedesktop.ScreenSaver": "bin/ksmserver"}  # by the names that they have on the bus
    CLIPBOARD = ("xclip", "-selection", "clipboard", "-out")

    def _start_desktop(self):
        PrivateSession._start_display(self)
        self._tell_bus("DISPLAY", "QT_QPA_PLATFORM")
        for name, program in self.PROGRAMS.items():
            self.start(*pathlib.Path("/usr").glob(program), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            self.run("gdbus", "wait", "--session", "--timeout", "60", name)
        self.hands = X11Hands(self)


DESKTOPS = {"gnome": Gnome, "plasma": Plasma, "plasma-x11": PlasmaX11}
