# SPDX-License-Identifier: MIT
"""Prints the title of the window that has the keyboard, as a screen reader reads it."""

import contextlib

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402


def children(accessible):
    for index in range(accessible.get_child_count()):
        with contextlib.suppress(GLib.GError):  # it has gone meanwhile
            yield accessible.get_child_at_index(index)


Atspi.set_timeout(1000, 1000)  # milliseconds; those that have ended are still listed for a while
for application in children(Atspi.get_desktop(0)):
    with contextlib.suppress(GLib.GError, AttributeError):
        for window in children(application):
            if window.get_state_set().contains(Atspi.StateType.ACTIVE):
                print(window.get_name())
