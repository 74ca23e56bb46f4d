# SPDX-License-Identifier: MIT
"""What a desktop reads about Kavrin: the desktop entry, the metadata, the icons, the bus and the units."""

import configparser
import email.utils
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

import yaml

from packages import install, run
from support.private_session import ROOT

PACKAGING = ROOT / "packaging"
UNITS = ("kavrin.service", "kavrin-stt.service", "kavrin-messages.service", "app-app.kavrin.Typist.service")


def sections(path):
    """The values by section and key of a file of a desktop entry's or a unit's kind."""
    parser = configparser.ConfigParser(interpolation=None, strict=True)
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    return parser


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.prefix = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="kavrin-prefix-")))
        install(cls.prefix)
        cls.metadata = cls.prefix / "share" / "metainfo" / "app.kavrin.Kavrin.metainfo.xml"
        cls.entry_path = cls.prefix / "share" / "applications" / "app.kavrin.Kavrin.desktop"
        cls.entry = sections(cls.entry_path)

    def test_the_desktop_entry_is_valid(self):
        run("desktop-file-validate", "--no-hints", self.entry_path)

    def test_the_desktop_entry_opens_links_and_offers_both_actions(self):
        entry = self.entry["Desktop Entry"]
        self.assertEqual(entry["DBusActivatable"], "true")
        self.assertEqual(entry["MimeType"], "x-scheme-handler/kavrin;")
        self.assertEqual(entry["Exec"], "kavrin %u")
        actions = [name for name in entry["Actions"].split(";") if name]
        self.assertEqual({name: self.entry[f"Desktop Action {name}"]["Name"] for name in actions},
                         {"dictate": "Start or stop dictation", "save-code": "Save code"})

    def test_every_icon_of_its_own_is_there_and_can_be_drawn(self):
        self.assertEqual(self.entry["Desktop Entry"]["Icon"], "app.kavrin.Kavrin")
        self.assertTrue((self.prefix / "share" / "icons" / "hicolor" / "symbolic" / "actions" /
                         (self.entry["Desktop Action save-code"]["Icon"] + ".svg")).is_file())
        for name, size in (("scalable/apps/app.kavrin.Kavrin.svg", 128),
                           ("symbolic/apps/app.kavrin.Kavrin-symbolic.svg", 16)):
            with self.subTest(name):
                path = self.prefix / "share" / "icons" / "hicolor" / name
                draw = ("ffmpeg", "-loglevel", "error", "-i", str(path), "-f", "rawvideo", "-pix_fmt", "rgba", "-")
                picture = subprocess.run(draw, capture_output=True, check=True).stdout
                self.assertEqual(len(picture), size * size * 4)
                opacity = picture[3::4]
                corner, left_edge = opacity[0], opacity[size * size // 2 + size // 8]
                self.assertEqual((corner, left_edge), (0, 255))

    def test_the_metadata_is_valid(self):
        run("appstreamcli", "validate", "--no-net", self.metadata)

    def test_the_metadata_names_what_is_installed(self):
        root = xml.etree.ElementTree.parse(self.metadata).getroot()
        self.assertEqual(root.findtext("launchable"), self.entry_path.name)
        self.assertEqual({element.text for element in root.iter("binary")},
                         {path.name for path in (self.prefix / "bin").iterdir()})

    def test_one_version_stands_everywhere(self):
        version = run(self.prefix / "bin" / "kavrinctl", "--version").split()[1]
        root = xml.etree.ElementTree.parse(self.metadata).getroot()
        release = root.find("releases/release")
        self.assertEqual(release.get("version"), version)
        changelog = (PACKAGING / "debian" / "changelog").read_text(encoding="utf-8")
        self.assertEqual(re.match(r"kavrin \((.*?)\)", changelog).group(1), version)
        signed = email.utils.parsedate_to_datetime(re.search(r"^ -- .*>  (.*)$", changelog, re.MULTILINE).group(1))
        self.assertEqual(signed.date().isoformat(), release.get("date"))
        for_people = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r"^## \[(\d.*?)\] - (.*)$", for_people, re.MULTILINE)[0],
                         (version, release.get("date")))

    def test_the_documents_lead_to_what_is_installed_too(self):
        folder = self.prefix / "share" / "doc" / "kavrin"
        with_the_sources_only = {"CONTRIBUTING.md", "LICENSE", "screenshots"}
        documents = [folder / "README.md", folder / "CHANGELOG.md", *(folder / "docs").glob("*.md")]
        self.assertEqual({document.name for document in documents[2:]},
                         {document.name for document in (ROOT / "docs").glob("*.md")})
        for document in documents:
            for link in re.findall(r"\]\(([^)#]+)", document.read_text(encoding="utf-8")):
                if link not in with_the_sources_only and not link.startswith("https://"):
                    with self.subTest(link, document=document.name):
                        self.assertTrue((document.parent / link).exists())

    def test_the_bus_and_the_units_start_the_installed_programs(self):
        bin_folder = self.prefix / "bin"
        self.assertEqual([self.unit(name)["Service"]["ExecStart"] for name in UNITS],
                         [f"{bin_folder}/kavrin --background", f"{bin_folder}/kavrin-stt --port 49732",
                          f"{bin_folder}/kavrinctl watch-messages", f"{bin_folder}/kavrin-typist"])
        for name in ("app.kavrin.Kavrin", "app.kavrin.Typist"):
            with self.subTest(name):
                path = self.prefix / "share" / "dbus-1" / "services" / f"{name}.service"
                service = sections(path)["D-BUS Service"]
                unit = self.unit(service["SystemdService"])["Service"]
                self.assertEqual((service["Name"], service["Exec"]), (unit["BusName"], unit["ExecStart"]))
                self.assertEqual(service["Name"], name)

    def test_the_service_manager_accepts_the_units(self):
        with tempfile.TemporaryDirectory() as runtime:
            for name in UNITS:
                with self.subTest(name):
                    verify = ("systemd-analyze", "--user", "--man=no", "verify", str(self.unit_path(name)))
                    environment = {"XDG_RUNTIME_DIR": runtime, "HOME": runtime, "PATH": "/usr/bin:/bin"}
                    done = subprocess.run(verify, env=environment, capture_output=True, text=True, check=False)
                    self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_the_units_that_need_a_desktop_end_with_the_graphical_session(self):
        for name in ("kavrin.service", "app-app.kavrin.Typist.service"):
            with self.subTest(name):
                unit = self.unit(name)
                self.assertEqual({unit["Unit"]["PartOf"], unit["Unit"]["After"], unit["Install"]["WantedBy"]},
                                 {"graphical-session.target"})

    def test_desktops_find_the_typist_by_its_unit(self):
        path = self.prefix / "share" / "applications" / "app.kavrin.Typist.desktop"
        run("desktop-file-validate", "--no-hints", path)
        self.assertEqual(sections(path)["Desktop Entry"]["NoDisplay"], "true")
        self.assertTrue(self.unit_path(f"app-{path.stem}.service").is_file())

    def test_the_service_manager_does_not_wait_for_the_speech_service(self):
        self.assertEqual(self.unit("kavrin-stt.service")["Service"]["TimeoutStopSec"], "5")

    def unit_path(self, name):
        return self.prefix / "share" / "systemd" / "user" / name

    def unit(self, name):
        return sections(self.unit_path(name))


class Flatpak(unittest.TestCase):
    def setUp(self):
        self.folder = PACKAGING / "flatpak"
        self.manifest = yaml.safe_load((self.folder / "app.kavrin.Kavrin.yml").read_text(encoding="utf-8"))

    def test_it_asks_for_the_least_that_works(self):
        self.assertEqual(sorted(self.manifest["finish-args"]), [
            "--filesystem=xdg-data/app-groups:create",
            "--share=ipc",
            "--share=network",
            "--socket=fallback-x11",
            "--socket=pulseaudio",
            "--socket=wayland",
            "--system-talk-name=org.freedesktop.login1",
            "--talk-name=org.freedesktop.Notifications",
            "--talk-name=org.gnome.evolution.dataserver.AddressBook10",
            "--talk-name=org.kde.StatusNotifierWatcher",
        ])

    def test_everything_but_kavrin_is_one_of_debians_archives_with_its_hash(self):
        for module in self.manifest["modules"]:
            for source in module["sources"]:
                with self.subTest(module["name"]):
                    if source["type"] == "dir":
                        self.assertEqual((self.folder / source["path"]).resolve(), ROOT)
                        continue
                    self.assertEqual(source["type"], "archive")
                    self.assertTrue(source["url"].startswith("https://deb.debian.org/debian/pool/main/"), source["url"])
                    self.assertRegex(source["sha256"], "^[0-9a-f]{64}$")

    def test_its_last_module_is_kavrin(self):
        self.assertEqual(self.manifest["modules"][-1]["name"], "kavrin")
        self.assertEqual((self.manifest["id"], self.manifest["command"]), ("app.kavrin.Kavrin", "kavrin"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
