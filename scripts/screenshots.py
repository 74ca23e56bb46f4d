# SPDX-License-Identifier: MIT
"""Takes a picture of every screen of Kavrin, light and dark, as wide as on a phone and on a desktop, and of some in high
contrast and in large type.

The real application is driven in a display and a session of its own, as a screen reader drives it; the desktop's wish
for dark windows or contrast comes from a stand-in for the settings portal. Each picture is
docs/screenshots/SIZE-LOOK-SCREEN.png.
"""

import argparse
import dataclasses
import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests"))
sys.dont_write_bytecode = True

from support.private_session import Failure, enter_private_namespaces, wait_until  # noqa: E402
from support.screen_reader import FIRST_PAGES, Window, WindowSession  # noqa: E402

SIZES = {"phone": "360x720", "desktop": "1000x740"}
SCALE = 2


@dataclasses.dataclass(frozen=True)
class Look:
    """What a desktop wants, in the numbers of org.freedesktop.appearance and in points."""
    colour_scheme: int = 2
    contrast: int = 0
    font_size: int = 0  # Qt's own, if 0
    pages: tuple = ()  # all, if empty


LOOKS = {"light": Look(), "dark": Look(colour_scheme=1),
         "contrast": Look(contrast=1, pages=("layout", "dictation")),
         "large": Look(font_size=18, pages=("layout", "dictation"))}
# 256 colours are enough for these pictures, and make them half as large.
PALETTE = ("split[picture][colours];[colours]palettegen=reserve_transparent=0:stats_mode=single[palette];"
           "[picture][palette]paletteuse=dither=none:new=1")
PORTAL = ("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings")
DICTIONARY = "omw=on my way\nbrb=be right back\naddr=12 Example Street, 34567 Sampletown\nKavrin\nPocketSphinx\n"
SPEECH = pathlib.Path("/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0870.wav")


class Screens(WindowSession):
    """A session whose desktop wants one of the looks."""

    def __init__(self, look):
        super().__init__(sound=True)
        self._look = look

    def __enter__(self):
        super().__enter__()
        self.env["QT_SCALE_FACTOR"] = str(SCALE)
        if self._look.font_size > 0:
            self._choose_font(self._look.font_size)
        self.start("/usr/bin/python3", "-m", "dbusmock", "--session", *PORTAL)
        answer = (f'ret = {{"org.freedesktop.appearance": {{"color-scheme": dbus.UInt32({self._look.colour_scheme}), '
                  f'"contrast": dbus.UInt32({self._look.contrast})}}}}')
        call = ("gdbus", "call", "--session", "--dest", PORTAL[0], "--object-path", PORTAL[1],
                "--method", "org.freedesktop.DBus.Mock.AddMethod", PORTAL[2], "ReadAll", "as", "a{sa{sv}}", answer)
        wait_until(lambda: self.run(*call, check=False).returncode == 0, "the settings portal")
        self.ctl("defaults", "write", "userDict", "--string", DICTIONARY)
        return self

    def _choose_font(self, size):
        """Plasma's fonts are the ones that Qt itself reads."""
        self.env |= {"XDG_CURRENT_DESKTOP": "KDE", "KDE_SESSION_VERSION": "5"}
        settings = pathlib.Path(self.env["XDG_CONFIG_HOME"], "kdeglobals")
        settings.write_text(f"[General]\nfont=Sans,{size},-1,5,50,0,0,0,0,0\n", encoding="utf-8")

    def photograph(self, process, path):
        """Writes a picture of the window as it is now."""
        self.run("ffmpeg", "-loglevel", "error", "-y", "-f", "x11grab", "-draw_mouse", "0", "-window_id", self.window_number(process),
                 "-i", self.env["DISPLAY"], "-frames:v", "1", "-filter_complex", PALETTE, path)

    def photograph_at_rest(self, process, path):
        """Writes a picture when two pictures in a row are equal: nothing moves any more."""
        def is_at_rest():
            before = path.read_bytes() if path.exists() else None
            self.photograph(process, path)
            return path.read_bytes() == before

        wait_until(is_at_rest, f"{path.name} is at rest", interval=0.1)


class Album:
    """The pictures of one size and one look."""

    def __init__(self, session, folder, prefix, size):
        self._session = session
        self._folder = folder
        self._prefix = prefix
        self._process = session.start_kavrin("-qwindowgeometry", size + "+0+0")
        self._window = Window(session, self._process)
        session.focus_window(self._process)
        session.run("xdotool", "mousemove", "2047", "1535")  # away from the window
        wait_until(lambda: self._window.page() in FIRST_PAGES, "the first page")

    def take_all(self, pages):
        self._take("settings")
        self._take_search()
        for page in pages:
            self._window.open_page(page["title"])
            self._take(page["id"])
            if page["id"] == "layout":
                self._window.open_page("Reorder & hide toolbar icons", "Toolbar icons")
                self._take("toolbar")
                self._window.go_back(page["title"])
            if page["id"] == "extensions":
                self._window.find("To", "combo box").press()
                self._window.find("Azərbaycanca", "list item")
                self._take("choice")
                self._session.press_keys("Escape")
                self._window.wait_until_gone("Azərbaycanca", "list item")
            if page["id"] == "dictation":
                self._take_dictation()
            if self._window.look("Back", "push button"):  # a wide window has the list of pages instead
                self._window.go_back()
        self._window.open_page("Personal dictionary & shortcuts", "Dictionary")
        self._take("dictionary")
        self._session.end(self._process)

    def _take_search(self):
        self._session.press_keys("ctrl+f")
        self._window.find("Search settings", "text")
        self._session.type("size")
        self._window.find("Letter size", "list item")
        self._take("search")
        self._session.press_keys("Escape")
        self._window.wait_until_gone("Search settings", "text")

    def _take_dictation(self):
        speech = self._session.start("paplay", SPEECH)
        self._window.find("Test voice typing", "push button").press()
        self._window.find("Stop", "push button")
        self._session.photograph(self._process, self._path("dictating"))
        self._window.find("Close", "push button").press()
        self._window.wait_until_gone("Close", "push button")
        self._session.end(speech)

    def _take(self, screen):
        self._session.photograph_at_rest(self._process, self._path(screen))

    def _path(self, screen):
        return self._folder / f"{self._prefix}-{screen}.png"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--folder", type=pathlib.Path, default=ROOT / "docs" / "screenshots")
    options = parser.parse_args()
    options.folder.mkdir(parents=True, exist_ok=True)
    enter_private_namespaces()
    for name, look in LOOKS.items():
        with Screens(look) as session:
            pages = [page for page in json.loads(session.ctl("catalogue", "--json")) if not look.pages or page["id"] in look.pages]
            for size, geometry in SIZES.items():
                Album(session, options.folder, f"{size}-{name}", geometry).take_all(pages)



if __name__ == "__main__":
    try:
        main()
    except (Failure, TimeoutError) as error:
        sys.exit(str(error))
