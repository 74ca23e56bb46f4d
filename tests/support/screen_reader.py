# SPDX-License-Identifier: MIT
"""Kavrin's window as a screen reader reads it and as a keyboard drives it, in a private session.

Runs with the system's python3, whose gi is the accessibility library's only binding.
"""

import atexit
import contextlib
import ctypes
import functools
import os
import subprocess
import warnings

from support.private_session import Failure, PrivateSession, wait_until

GEOMETRY = "360x720+0+0"
FIRST_PAGES = ("Kavrin", "Start")  # in a narrow window, and beside the list of pages


class WindowSession(PrivateSession):
    """A private session with a display and an accessibility bus. The accessibility library stays with the first
    bus that it has seen, so all sessions of a script share one session bus; of a test nothing is left on it once
    its programs have ended."""

    def __init__(self, bin_dir=None, sound=False):
        super().__init__(bin_dir, display=True, sound=sound)

    def _start_bus(self):
        self.env["DBUS_SESSION_BUS_ADDRESS"] = _desktop().env["DBUS_SESSION_BUS_ADDRESS"]
        self.env["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        self.env.pop("AT_SPI_BUS_ADDRESS", None)  # is for the library; Qt asks the session bus

    def open_window(self, *arguments, beats=True):
        """Starts kavrin; returns its window once a screen reader finds it and it has the keyboard."""
        process = self.start_kavrin("-qwindowgeometry", GEOMETRY, *arguments, beats=beats)
        window = Window(self, process)
        self.focus_window(process)
        wait_until(lambda: window.page() in FIRST_PAGES, "the first page is read")
        return window

    def focus_window(self, process):
        """Gives the process's window the keyboard, as a window manager does."""
        self.run("xdotool", "windowfocus", "--sync", self.window_number(process))

    def window_number(self, process):
        """The number of the process's window on the display."""
        search = ("xdotool", "search", "--onlyvisible", "--pid", str(process.pid), "--name", "^Kavrin$")
        return wait_until(lambda: self.run(*search, check=False).stdout.strip(), "the window is shown")

    def close_window(self, process):
        """Closes the process's window, as a window manager does."""
        _ask_to_close(self.env["DISPLAY"], int(self.window_number(process)))

    def press_keys(self, *keys):
        """Presses keys one after the other, such as "Escape" and "alt+Left", wherever the keyboard is."""
        self.run("xdotool", "key", *keys)

    def type(self, text):
        """Types a text wherever the keyboard is."""
        for number, line in enumerate(text.split("\n")):
            if number > 0:
                self.press_keys("Return")
            self.run("xdotool", "type", line)

    def copy(self, text):
        """Puts a text on the clipboard, as another program does."""
        file = self.folder / "copied"
        file.write_text(text, encoding="utf-8")
        self.start("xclip", "-quiet", "-selection", "clipboard", file, stderr=subprocess.DEVNULL)
        wait_until(lambda: self.run("xclip", "-selection", "clipboard", "-o", check=False).stdout == text,
                   "the text is on the clipboard")

    def clipboard(self):
        """The text on the clipboard, as another program gets it."""
        return self.run("xclip", "-selection", "clipboard", "-o").stdout


class Element:
    """Something that a screen reader tells of. Nothing is remembered: each property asks anew."""

    def __init__(self, accessible):
        self._accessible = accessible

    def __repr__(self):
        return f"{self.role} {self.name!r}"

    @property
    def name(self):
        return self._accessible.get_name()

    @property
    def role(self):
        """In words, such as "push button"."""
        name = self._accessible.get_role_name()
        return "push button" if name == "button" else name  # newer versions say "button"

    @property
    def description(self):
        return self._accessible.get_description()

    @property
    def process_id(self):
        return self._accessible.get_process_id()

    @property
    def states(self):
        """In words, such as "checked"."""
        return {state.value_nick for state in self._accessible.get_state_set().get_states()}

    @property
    def actions(self):
        if not self._has("action"):
            return []
        action = _atspi().Action
        with warnings.catch_warnings(action="ignore"):  # Qt knows no newer way to ask
            return [action.get_action_name(self._accessible, index)
                    for index in range(action.get_n_actions(self._accessible))]

    @property
    def value(self):
        """The number that a slider stands at."""
        return _atspi().Value.get_current_value(self._accessible)

    @value.setter
    def value(self, number):
        _atspi().Value.set_current_value(self._accessible, number)

    @property
    def limits(self):
        """The least and the greatest number of a slider."""
        value = _atspi().Value
        return value.get_minimum_value(self._accessible), value.get_maximum_value(self._accessible)

    @property
    def text(self):
        """What is in a field."""
        return _atspi().Text.get_text(self._accessible, 0, -1)

    def do(self, action):
        """Does one of the actions."""
        if not _atspi().Action.do_action(self._accessible, self.actions.index(action)):
            raise Failure(f"{self}: {action} was refused")

    def press(self):
        self.do("Press")

    def focus(self):
        """Gives it the keyboard."""
        self.do("SetFocus")
        wait_until(lambda: "focused" in self.states, f"{self} has the focus")

    def shown(self):
        """Whether it has a place in the window, be it beyond where the page is scrolled to. (What is hidden has
        none, but is told of all the same.)"""
        return self._has("component")

    def _has(self, interface):
        """Whether it has this interface. The library would ask a dozen times for a list of all that it has."""
        with warnings.catch_warnings(action="ignore"):  # there is no newer way to ask for one
            return getattr(self._accessible, f"get_{interface}_iface")() is not None

    def all_children(self):
        """What is directly in it, shown or not."""
        found = (self._accessible.get_child_at_index(index) for index in range(self._accessible.get_child_count()))
        return [Element(child) for child in found if child]

    def children(self):
        """What is shown directly in it."""
        return [child for child in self.all_children() if child.shown()]

    def below(self):
        """All that is shown in it, in the order in which it is read."""
        for child in self.children():
            yield child
            yield from child.below()


class Window:
    """The window of a running kavrin."""

    def __init__(self, session, process):
        self.session = session
        self.process = process
        _atspi()
        self._root = wait_until(self._find_root, "the window appears to screen readers")

    def _find_root(self):
        _learn_of_applications()
        for application in Element(_atspi().get_desktop(0)).all_children():
            with contextlib.suppress(_errors()):  # those that have ended are still listed for a while
                if application.process_id == self.process.pid:
                    return next(iter(application.all_children()), None)
        return None

    def look(self, name, role=None):
        """What has this name and role and is shown now; None where there is nothing."""
        try:
            return next((element for element in self._root.below()
                         if element.name == name and role in (None, element.role)), None)
        except _errors():
            return None  # it went while it was looked at

    def find(self, name, role=None):
        """The same; waits for it."""
        return wait_until(lambda: self.look(name, role), f"{role or 'element'} {name!r} is shown")

    def wait_until_gone(self, name, role=None):
        wait_until(lambda: not self.look(name, role), f"{role or 'element'} {name!r} is gone")

    def is_active(self):
        """Whether it has the keyboard, as far as its application knows."""
        return "active" in self._root.states

    def pages(self):
        """The pages that are shown: one, or two while one slides over the other."""
        return self._stack.children()

    @functools.cached_property
    def _stack(self):
        """What holds the pages, as long as there is the window."""
        return next(element for element in self._root.children() if element.role == "layered pane")

    def page(self):
        """The title of the page that is shown; None while pages change."""
        try:
            pages = self.pages()
            return pages[0].name if len(pages) == 1 else None
        except _errors():
            return None

    def wait_for_page(self, title):
        wait_until(lambda: self.page() == title, f"the page {title!r}")
        return self.pages()[0]

    def open_page(self, link, title=None):
        """Presses a link; returns the page that it leads to."""
        self.find(link, "push button").press()
        return self.wait_for_page(title or link)

    def go_back(self, title="Kavrin"):
        self.find("Back", "push button").press()
        return self.wait_for_page(title)

    def choose(self, picker, option):
        """Opens a list of options and picks one."""
        self.find(picker, "combo box").press()
        self.find(option, "list item").press()
        self.wait_until_gone(option, "list item")

    def fill(self, field, text):
        """Types a text into a field in place of what is there."""
        field.focus()
        self.session.press_keys("ctrl+a")
        self.session.type(text)


def _ask_to_close(display, window):
    class ClientMessage(ctypes.Structure):
        _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                    ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                    ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("rest", ctypes.c_long * 24)]

    library = ctypes.CDLL("libX11.so.6")
    library.XOpenDisplay.restype = ctypes.c_void_p
    library.XInternAtom.restype = ctypes.c_ulong
    connection = ctypes.c_void_p(library.XOpenDisplay(display.encode()))
    client_message = 33
    message = ClientMessage(type=client_message, window=window, format=32)
    message.message_type = library.XInternAtom(connection, b"WM_PROTOCOLS", 0)
    message.data[0] = library.XInternAtom(connection, b"WM_DELETE_WINDOW", 0)
    library.XSendEvent(connection, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(message))
    library.XCloseDisplay(connection)


@functools.cache
def _desktop():
    """The session that holds the accessibility bus of this script."""
    desktop = PrivateSession(sound=False)
    desktop.__enter__()
    atexit.register(desktop.__exit__)
    desktop.start("/usr/libexec/at-spi-bus-launcher", "--launch-immediately", stderr=subprocess.DEVNULL)
    question = ("gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                "--method", "org.a11y.Bus.GetAddress")
    address = wait_until(lambda: desktop.run(*question, check=False).stdout, "the accessibility bus")
    os.environ["AT_SPI_BUS_ADDRESS"] = address.strip("(',)\n")
    return desktop


@functools.cache
def _atspi():
    _desktop()
    with warnings.catch_warnings(action="ignore"):
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
    Atspi.init()
    Atspi.set_timeout(10000, 10000)
    Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)
    return Atspi


def _learn_of_applications():
    """Handles the signals in which applications come and go."""
    from gi.repository import GLib
    while GLib.MainContext.default().iteration(False):
        pass


def _errors():
    from gi.repository import GLib
    return GLib.GError
