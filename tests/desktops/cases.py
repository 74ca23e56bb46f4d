# SPDX-License-Identifier: MIT
"""Dictates on a desktop as a person does, and prints a line for each case: cases.py gnome|plasma|plasma-x11.

The cases follow one another in one session, so each finds what those before it have left: the desktop asks its
questions once. Ends with 1 where a case failed.
"""

import contextlib
import os
import pathlib
import signal
import subprocess
import sys
import time
import traceback

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "tests" / "e2e")]

from desk import PROGRAMS, Desk, Field  # noqa: E402
from desktop_session import DESKTOPS  # noqa: E402
from support.private_session import enter_private_namespaces, wait_until  # noqa: E402
from support.speech import SPOKEN  # noqa: E402
from support.sway import become_ordinary_user  # noqa: E402
from typist_test import ALL_OF_UNICODE, Service  # noqa: E402

LONG_TEXT = ((ALL_OF_UNICODE + " ") * 300)[:10_000].strip()
PERMISSIONS = ("org.freedesktop.impl.portal.PermissionStore", "/org/freedesktop/impl/portal/PermissionStore",
               "org.freedesktop.impl.portal.PermissionStore")


# The cases. Each one begins and ends with the typist running, and no window.

def the_shortcut_is_refused_and_then_given(desk):
    question = desk.session.SHORTCUT_QUESTION
    if question:
        desk.refuse(question)
        desk.wait_for_refusal()
        desk.start_typist_again()
        desk.wait_for_refusal()  # nobody is asked
        asking = desk.session.start(desk.session.bin / "kavrinctl", "type", "shortcut", stdout=subprocess.DEVNULL)
        desk.accept(question)
        assert asking.wait(30) == 0, "kavrinctl type shortcut fails"
    desk.wait_for_shortcut()


def typing_is_permitted_once(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        desk.dictate("first")
        desk.accept(desk.session.TYPING_QUESTION)
        field.wait_for("first")
        desk.dictate(" second")  # nobody answers a question
        field.wait_for("firstsecond")


def a_new_process_asks_nothing(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        desk.start_typist_again()
        desk.wait_for_shortcut()
        desk.dictate("once more")
        field.wait_for("once more")


def the_key_held_records_until_it_is_released(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        desk.service.answer("held")
        with desk.hands.holding("ctrl", "alt", "d"):
            desk.wait_for_activity("recording")
            time.sleep(1)  # the key is held that long
        field.wait_for("held")


def type_by_tapping(desk, field, text):
    desk.service.answer(text)
    desk.hands.tap("ctrl", "alt", "d")
    desk.wait_for_activity("recording")
    desk.hands.tap("ctrl", "alt", "d")
    field.wait_for(text)


def the_key_tapped_records_until_it_is_tapped_again(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        type_by_tapping(desk, field, "tapped")


def the_shortcut_asked_for_again_is_there_still(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        desk.session.ctl("type", "shortcut")
        desk.wait_for_shortcut()
        type_by_tapping(desk, field, "again")


def killed_at_some_moment_it_types_a_text_once_or_never(desk):
    """Whenever that is, the text is on the clipboard, and no key that the typist has pressed stays down."""
    suite = desk.session.suite()
    with contextlib.closing(Field(desk, "GTK")) as field:
        for tenths in range(0, 18, 3):
            before, used = field.text(), suite.get("tUsed")
            desk.dictate(f"[{tenths}]")
            wait_until(lambda: suite.get("tUsed") != used, "the text is marked", interval=0)
            time.sleep(tenths / 10)
            desk.typist.kill()
            wait_until(lambda: desk.clipboard() == f"[{tenths}]", "the text is on the clipboard")
            desk.start_typist_again()
            desk.wait_for_shortcut()
            assert field.text() in (before, f"{before}[{tenths}]"), f"{field.text()!r} is typed"
        before = field.text() + "-"  # before it, letters x do not count
        desk.hands.tap("minus")
        desk.hands.tap("x")
        field.wait_for(f"{before}x")
        desk.dictate("[next]")
        field.wait_for(f"{before}x[next]")


def texts_arrive_in(program):
    def case(desk):
        with contextlib.closing(Field(desk, program)) as field:
            desk.dictate(ALL_OF_UNICODE)
            field.wait_for(ALL_OF_UNICODE)
            desk.dictate(LONG_TEXT)
            field.wait_for(ALL_OF_UNICODE + LONG_TEXT)
    return case


def speech_arrives_in(program):
    def case(desk):
        with contextlib.closing(Field(desk, program)) as field:
            desk.speak()
            field.wait_for(SPOKEN)
    return case


def take_permission_away(desk):
    """What the desktop has stored is forgotten, and its part of the portal ends with its sessions."""
    for permission in desk.bus.call(*PERMISSIONS, "List", "(s)", "remote-desktop")[0]:
        desk.bus.call(*PERMISSIONS, "Delete", "(ss)", "remote-desktop", permission)
    os.kill(desk.bus.process_of(desk.session.PORTAL), signal.SIGKILL)
    wait_until(lambda: not desk.bus.has(desk.session.PORTAL), "the portal has ended")
    wait_until(lambda: has_keyboards(desk), "the portal is there again")


def has_keyboards(desk):
    with contextlib.suppress(desk.bus.errors):  # it is not ready yet
        return desk.bus.get(desk.session.PORTAL, "/org/freedesktop/portal/desktop",
                            "org.freedesktop.impl.portal.RemoteDesktop", "AvailableDeviceTypes")


def withdrawn_and_refused_it_leaves_the_text_on_the_clipboard(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        take_permission_away(desk)
        desk.dictate("refused")
        desk.refuse(desk.session.TYPING_QUESTION)
        desk.wait_for_notification("The desktop does not let Kavrin type. It asks again next time. The text is on the"
                                   " clipboard: Ctrl+V pastes it, in a terminal Ctrl+Shift+V.")
        assert desk.clipboard() == "refused", f"the clipboard has {desk.clipboard()!r}"
        desk.dictate("permitted")
        desk.accept(desk.session.TYPING_QUESTION)
        field.wait_for("permitted")


def a_locked_session_types_nothing(desk):
    with contextlib.closing(Field(desk, "GTK")) as field:
        desk.session.lock()
        desk.dictate("behind the lock")
        desk.wait_for_notification("The session is locked.")
        assert field.text() == "", f"{field.text()!r} is typed"


CASES = [
    ("the shortcut, refused and then given", the_shortcut_is_refused_and_then_given),
    ("the permission to type is asked for once", typing_is_permitted_once),
    ("a new process asks nothing", a_new_process_asks_nothing),
    ("the shortcut, held", the_key_held_records_until_it_is_released),
    ("the shortcut, tapped", the_key_tapped_records_until_it_is_tapped_again),
    ("the shortcut, asked for again", the_shortcut_asked_for_again_is_there_still),
    ("killed, a text comes once or never", killed_at_some_moment_it_types_a_text_once_or_never),
    *[(f"{program}: all of Unicode, and 10,000 characters", texts_arrive_in(program)) for program in PROGRAMS],
    *[(f"{program}: what was said", speech_arrives_in(program)) for program in PROGRAMS],
    ("the permission, withdrawn and refused", withdrawn_and_refused_it_leaves_the_text_on_the_clipboard),
    ("a locked session", a_locked_session_types_nothing),
]
OF_THE_PERMISSION = (typing_is_permitted_once, withdrawn_and_refused_it_leaves_the_text_on_the_clipboard)


def cases_on(session):
    return [(title, case) for title, case in CASES if session.TYPING_QUESTION or case not in OF_THE_PERMISSION]


def passes(case, desk):
    try:
        case(desk)
    except Exception:  # whatever it is, the next case is tried
        traceback.print_exc()
        return False
    return True


def main(name):
    failed = 0
    with DESKTOPS[name]() as session, Service() as service:
        desk = Desk(session, service)
        for title, case in cases_on(session):
            begun = time.monotonic()
            is_good = passes(case, desk)
            failed += not is_good
            print(f"{name:10} {'ok' if is_good else 'FAILED':8} {title} ({time.monotonic() - begun:.0f} s)", flush=True)
    return failed > 0


if __name__ == "__main__":
    enter_private_namespaces()
    become_ordinary_user()
    sys.exit(main(sys.argv[1]))
