# SPDX-License-Identifier: MIT
"""The settings window, read and used as a person with a screen reader does, and what it stores as a keyboard
finds it."""

import json
import plistlib
import shutil
import unittest

from support.desktop import Bus
from support.platform_texts import shown
from support.private_session import PrivateSession, enter_private_namespaces, wait_until
from support.screen_reader import WindowSession

# Only the keyboard's own settings have these.
KEYBOARD_ACTIONS = ("act.resize", "act.importConfig", "act.resetLearned")

NOT_SHARED = "No keyboard has used these settings yet"
NOT_SHARED_HELP = ("A keyboard in a sandbox may keep its own copy. Use “Copy all settings & keys” here, then “Import "
                   "settings from clipboard” in the keyboard's own settings.")
SHARED = "Keyboard and app share settings"
# The card for a new user.
GET_STARTED = [
    ("heading", "Get started"), ("push button", "Dismiss"),
    ("label", "Choose who turns speech into text"),
    ("label", "This machine can: US English only, without account, and nothing leaves it. OpenAI and Gemini know many "
              "languages, and need a key."),
    ("push button", "Use this machine"), ("push button", "OpenAI, Gemini, other…"),
    ("label", "Get a key that types what you say"),
    ("label", "Press it in any window, speak, press it again: the text stands where the cursor is."),
    ("push button", "Set up a key"),
    ("label", "Try it"), ("label", "Speak, press Stop, and read what was understood."), ("push button", "Dictate"),
]
COPIED = "Copied. Open the keyboard settings and import."

# What is read, and what can be done with it, by kind of setting.
READ_ROLES = ("heading", "check box", "slider", "combo box", "text", "push button", "label")
NEEDED_ACTIONS = {"check box": "Press", "slider": "Increase", "combo box": "Press", "text": "SetFocus",
                  "push button": "Press"}


def formatted(number, unit):
    text = f"{number:.0f}" if number == round(number) else f"{number:.2f}"
    return f"{text}%" if unit == "%" else f"{text} {unit}".rstrip()


def with_footer(text, item):
    return f"{text}. {item['footer']}" if item["footer"] else text


def row(item):
    """A setting of the catalogue at its default as it is to be read: role, name, description, value."""
    title, footer = item["title"], item["footer"] or ""
    if item["kind"] == "toggle":
        return ("check box", title, footer, item["default"])
    if item["kind"] == "slider":
        return ("slider", title, with_footer(formatted(item["default"], item["unit"]), item), item["default"])
    if item["kind"] == "choice":
        chosen = next(option["t"] for option in item["options"] if option["v"] == item["default"])
        return ("combo box", title, with_footer(chosen, item), None)
    if item["kind"] == "text":
        return ("text", title, footer, item["default"])
    return ("push button", title, footer, None)


def rows(item):
    if item.get("action") == "act.contacts":
        return [("push button", "Allow contacts access", "", None)]
    if item.get("action") == "act.syncStatus":
        return [("label", NOT_SHARED, "", None), ("label", NOT_SHARED_HELP, "", None)]
    if item.get("secret"):
        return [row(item), ("push button", f"Paste {item['title']}", "", None)]
    return [row(item)]


def expected(page):
    """All that is to be read of a page of the catalogue in a new home, from top to bottom."""
    read = [("heading", page["title"], "", None)]
    for section in page["sections"]:
        items = [item for item in section["items"] if item["visible"] and item.get("action") not in KEYBOARD_ACTIONS]
        if items:
            read.append(("heading", section["title"], "", None))
            read += [line for item in items for line in rows(shown(item))]
    return read


def value_of(element):
    if element.role == "check box":
        return "checked" in element.states
    if element.role == "slider":
        return round(element.value, 6)
    return element.text if element.role == "text" else None


def read(page):
    """All that there is to read of the page in the window, but the way back, the fold of the preview and the search."""
    elements = [element for element in page.below()
                if element.role in READ_ROLES and element.name not in ("Back", "Hide preview", "Search")]
    return elements, [(element.role, element.name, element.description, value_of(element)) for element in elements]


class Screens(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(WindowSession())

    def open(self):
        self.window = self.session.open_window()
        self.suite = self.session.suite()

    def wait_for_value(self, key, value):
        self.suite.wait_for(key, value)

    def wait_for_description(self, element, description):
        wait_until(lambda: element.description == description, f"{element} says {description!r}")


class Pages(Screens):
    def test_the_first_page_says_how_to_begin_and_leads_to_every_other(self):
        self.open()
        catalogue = json.loads(self.session.ctl("catalogue", "--json"))
        self.assertEqual([line[:2] for line in read(self.window.pages()[0])[1]], [
            ("heading", "Kavrin"), *GET_STARTED, ("heading", "Setup"),
            ("label", "Install a keyboard that is built for Kavrin, and choose it in your desktop's settings. It finds "
                      "these settings by itself."),
            ("text", "Try the keyboard here"),
            *(("push button", page["title"]) for page in catalogue),
            ("push button", "Personal dictionary & shortcuts"), ("push button", "Help")])

    def test_every_page_is_read_out_with_all_that_it_has(self):
        self.open()
        self.assertEqual(len(catalogue := json.loads(self.session.ctl("catalogue", "--json"))), 11)
        for page in catalogue:
            with self.subTest(page["title"]):
                elements, lines = read(self.window.open_page(page["title"]))
                self.assertEqual(lines, expected(page))
                for element in elements:
                    self.assertIn(NEEDED_ACTIONS.get(element.role), [None, *element.actions], element)
                self.window.go_back()

    def test_the_way_back_is_a_button_escape_and_alt_left(self):
        self.open()
        ways = {"Back": lambda: self.window.find("Back", "push button").press(),
                "Escape": lambda: self.session.press_keys("Escape"),
                "Alt+Left": lambda: self.session.press_keys("alt+Left")}
        for name, go_back in ways.items():
            with self.subTest(name):
                self.window.open_page("Layout")
                self.window.open_page("Reorder & hide toolbar icons", "Toolbar icons")
                go_back()
                self.window.wait_for_page("Layout")
                go_back()
                self.window.wait_for_page("Kavrin")

    def test_the_way_back_ends_at_the_first_page(self):
        self.open()
        self.session.press_keys("Escape", "alt+Left")
        self.window.open_page("Clipboard")
        self.assertIsNone(self.window.process.poll())

    def test_the_field_to_try_the_keyboard_keeps_its_text_until_the_end(self):
        self.open()
        self.window.fill(self.window.find("Try the keyboard here", "text"), "hello")
        self.window.open_page("Layout")
        self.window.go_back()
        self.assertEqual(self.window.find("Try the keyboard here", "text").text, "hello")
        self.session.end(self.window.process)
        self.open()
        self.assertEqual(self.window.find("Try the keyboard here", "text").text, "")


class Controls(Screens):
    def test_a_toggle_is_switched(self):
        self.open()
        self.window.open_page("Layout")
        number_row = self.window.find("Number row", "check box")
        self.assertNotIn("checked", number_row.states)
        for on in (1, 0):
            number_row.press()
            self.wait_for_value("numberRow", on)
            self.assertEqual("checked" in number_row.states, bool(on))
        self.assertIsInstance(self.suite.get("settingsRevision"), float)

    def test_a_slider_is_set_and_moved_by_steps(self):
        self.open()
        self.window.open_page("Layout")
        slider = self.window.find("Key height", "slider")
        self.assertEqual(slider.limits, (36, 80))
        slider.value = 60
        self.wait_for_value("rowH", 60.0)
        self.wait_for_description(slider, "60 pt")
        slider.do("Increase")
        self.wait_for_value("rowH", 61.0)
        slider.do("Decrease")
        self.wait_for_value("rowH", 60.0)
        self.assertEqual(slider.value, 60)

    def test_a_slider_stores_what_it_shows(self):
        self.open()
        self.window.open_page("Look & feel")
        slider = self.window.find(*self.fraction())
        slider.value = 0.437
        wait_until(lambda: "0.44" in slider.description, "the value is shown")
        self.wait_for_value("capDark", 0.44)

    def fraction(self):
        items = [item for page in json.loads(self.session.ctl("catalogue", "--json"))
                 for section in page["sections"] for item in section["items"]]
        return next(item["title"] for item in items if item["key"] == "capDark"), "slider"

    def test_a_choice_is_opened_and_made(self):
        self.open()
        self.window.open_page("Layout")
        hints = self.window.find("Key hints", "combo box")
        hints.press()
        options = self.window.find("Key hints", "list").children()
        self.assertEqual([option.name for option in options], ["Off", "Numbers", "Numbers & symbols"])
        self.assertEqual([option.name for option in options if "selected" in option.states], ["Off"])
        options[1].press()
        self.wait_for_value("hints", "numbers")
        self.wait_for_description(hints, "Numbers")

    def test_a_text_is_typed(self):
        self.session.ctl("set", "provider", "custom")
        self.open()
        self.window.open_page("Voice typing")
        field = self.window.find("Endpoint URL", "text")
        self.window.fill(field, "http://[::1]:8080/v1")
        self.wait_for_value("customURL", "http://[::1]:8080/v1")
        self.assertEqual(field.text, "http://[::1]:8080/v1")
        self.window.fill(field, "x")
        self.wait_for_value("customURL", "x")

    def test_a_secret_is_typed_and_not_read_out(self):
        self.open()
        self.window.open_page("Voice typing")
        field = self.window.find("API key", "text")
        self.window.fill(field, "sk-Secret")
        self.wait_for_value("openaiKey", "sk-Secret")
        self.assertNotIn("Secret", field.text)

    def test_a_key_is_pasted_with_a_button(self):
        self.session.copy("sk-pasted\n")
        self.open()
        self.window.open_page("Voice typing")
        self.window.find("Paste API key", "push button").press()
        self.wait_for_value("openaiKey", "sk-pasted")
        self.window.wait_until_gone("Paste API key", "push button")

    def test_a_text_is_cut_and_pasted_with_the_menu(self):
        self.session.ctl("set", "provider", "custom")
        self.session.ctl("set", "customURL", "http://one")
        self.open()
        self.window.open_page("Voice typing")
        self.window.find("Endpoint URL", "text").focus()
        self.session.press_keys("ctrl+a", "Menu")
        self.window.find("Cut", "menu item").press()
        self.wait_for_value("customURL", "")
        self.assertEqual(self.session.clipboard(), "http://one")
        self.session.press_keys("shift+F10")
        self.window.find("Paste", "menu item").press()
        self.wait_for_value("customURL", "http://one")

    def test_escape_closes_the_menu_and_not_the_page(self):
        self.open()
        self.window.open_page("Voice typing")
        self.window.find("API key", "text").focus()
        self.session.press_keys("Menu")
        self.window.find("Paste", "menu item")
        self.session.press_keys("Escape")
        self.window.wait_until_gone("Paste", "menu item")
        self.assertEqual(self.window.page(), "Voice typing")

    def test_rows_that_a_choice_brings_appear_at_once_and_the_others_go(self):
        self.open()
        self.window.open_page("Voice typing")
        sections = {"OpenAI": ["API key", "Paste API key", "Model"], "Gemini": ["API key", "Paste API key", "Model"],
                    "Custom endpoint": ["Endpoint URL", "API key", "Paste API key", "Model"]}
        for option, shown in (("Gemini", "Gemini"), ("Custom (OpenAI-compatible)", "Custom endpoint"),
                              ("OpenAI", "OpenAI")):
            self.window.choose("Provider", option)
            section = self.window.find(shown, "panel")
            self.assertEqual([element.name for element in section.children() if element.role != "heading"],
                             sections[shown])
            for other in sections.keys() - {shown}:
                self.window.wait_until_gone(other, "panel")
                self.window.wait_until_gone(other, "heading")

    def test_what_kavrinctl_changes_is_shown_at_once(self):
        self.session.ctl("set", "rowH", "50")
        blob = self.session.ctl("export")
        self.open()
        self.window.open_page("Layout")
        slider = self.window.find("Key height", "slider")
        for command, shown in ((("set", "rowH", "70"), "70 pt"), (("import", blob), "50 pt"),
                               (("reset", "rowH"), "54 pt")):
            with self.subTest(command[0]):
                self.session.ctl(*command)
                self.wait_for_description(slider, shown)

    def test_settings_that_are_read_again_are_not_stamped(self):
        self.session.ctl("set", "rowH", "50")
        self.open()
        self.window.open_page("Layout")
        before = self.suite.get("settingsRevision")
        self.suite.set("rowH", "double", 60.0)
        Bus(self.session).act("reload-settings")
        self.wait_for_description(self.window.find("Key height", "slider"), "60 pt")
        self.assertEqual(self.suite.get("settingsRevision"), before)

    def test_what_was_changed_is_there_after_a_restart(self):
        self.open()
        self.window.open_page("Layout")
        self.window.find("Key height", "slider").value = 70
        self.wait_for_value("rowH", 70.0)
        self.session.end(self.window.process)
        self.open()
        self.window.open_page("Layout")
        self.assertEqual(self.window.find("Key height", "slider").description, "70 pt")


class Editors(Screens):
    def tools(self):
        tools = json.loads(self.session.ctl("tools", "--json"))
        tools["order"].remove("settings")  # is always there, and not in the editor
        return tools

    def test_a_tool_is_moved_by_its_handle_and_hidden_by_its_switch(self):
        self.open()
        first, second, third = self.tools()["order"][:3]
        self.window.open_page("Layout")
        self.window.open_page("Reorder & hide toolbar icons", "Toolbar icons")
        names = [element.name for element in self.window.find("Toolbar icons", "list").children()]
        self.assertEqual(len(names), 9)

        handle = self.window.find(f"Move {names[0]}", "slider")
        self.assertEqual((handle.value, handle.limits, handle.description), (1, (1, 9), "1 of 9"))
        handle.do("Increase")
        wait_until(lambda: self.tools()["order"][:3] == [second, first, third], "the tool is second")
        self.wait_for_description(handle, "2 of 9")
        handle.value = 3
        wait_until(lambda: self.tools()["order"][:3] == [second, third, first], "the tool is third")
        handle.do("Decrease")
        wait_until(lambda: self.tools()["order"][:3] == [second, first, third], "the tool is second again")

        switch = self.window.find(names[0], "check box")
        self.assertIn("checked", switch.states)
        switch.press()
        wait_until(lambda: self.tools()["hidden"] == [first], "the tool is hidden")
        self.assertNotIn("checked", switch.states)

    def test_the_dictionary_is_stored_as_it_is_typed(self):
        self.open()
        self.window.open_page("Personal dictionary & shortcuts", "Dictionary")
        editor = self.window.find("Dictionary", "text")
        self.assertEqual(editor.description, "One entry per line. A plain word is added to the dictionary. Write "
                                             "omw=on my way to create a text shortcut.")
        self.window.fill(editor, "Kavrin\n\nomw=on my way\n")
        self.wait_for_value("userDict", "Kavrin\n\nomw=on my way\n")
        self.assertIsNone(self.suite.get("settingsRevision"))
        self.session.press_keys("ctrl+a", "Delete")
        self.wait_for_value("userDict", "")


class BackupAndReset(Screens):
    def open_advanced(self):
        self.open()
        return self.window.open_page("Backup & reset")

    def labels(self):
        return [element.name for element in self.window.pages()[0].below() if element.role == "label"]

    def test_the_sync_row_tells_whether_the_keyboard_has_been_in_the_suite(self):
        self.open_advanced()
        self.assertEqual(self.labels(), [NOT_SHARED, NOT_SHARED_HELP])
        self.window.go_back()
        self.suite.set("probeKb", "double", 1.0)
        self.window.open_page("Backup & reset")
        self.assertEqual(self.labels(), [SHARED])

    def test_nothing_is_shared_in_a_build_without_the_group(self):
        build = self.session.folder / "build"
        shutil.copytree(self.session.bin.parent / "share", build / "share")
        (build / "bin").mkdir()
        for program in ("kavrin", "kavrinctl"):
            shutil.copy(self.session.bin / program, build / "bin")
        with open(build / "share" / "kavrin" / "entitlements.plist", "wb") as entitlements:
            plistlib.dump({}, entitlements)
        self.session.bin = build / "bin"
        self.assertIs(json.loads(self.session.ctl("where", "--json"))["shared"], False)
        self.session.ctl("defaults", "write", "probeKb", "--double", "1")
        self.open_advanced()
        self.assertEqual(self.labels(), [NOT_SHARED, NOT_SHARED_HELP])

    def test_all_settings_and_keys_are_copied_and_imported_elsewhere(self):
        self.session.ctl("set", "rowH", "61")
        self.session.ctl("set", "openaiKey", "sk-ğ")
        self.session.ctl("defaults", "write", "userDict", "--string", "omw=on my way")
        self.open_advanced()
        self.window.find("Copy all settings & keys", "push button").press()
        self.window.find(COPIED, "label")
        blob = self.session.clipboard()
        with PrivateSession(sound=False) as other:
            other.ctl("import", blob)
            self.assertEqual([other.ctl("get", key) for key in ("rowH", "openaiKey")], ["61", "sk-ğ"])
            self.assertEqual(other.suite().get("userDict"), "omw=on my way")

    def test_a_new_home_has_nothing_to_copy(self):
        self.open_advanced()
        self.window.find("Copy all settings & keys", "push button").press()
        self.window.find(COPIED, "label")
        self.assertEqual(self.session.clipboard(), "KAVRINCFG1:e30=")

    def test_all_settings_are_reset_at_once_and_keys_are_kept(self):
        for key, value in (("rowH", "61"), ("numberRow", "true"), ("hints", "all"), ("openaiKey", "sk-1")):
            self.session.ctl("set", key, value)
        self.open_advanced()
        revision = self.suite.get("settingsRevision")
        self.window.find("Reset all settings", "push button").press()
        self.wait_for_value("rowH", None)
        self.assertEqual([self.suite.get(key) for key in ("numberRow", "hints", "openaiKey")], [None, None, "sk-1"])
        self.assertGreater(self.suite.get("settingsRevision"), revision)
        self.window.go_back()
        self.window.open_page("Layout")
        self.assertEqual(self.window.find("Key height", "slider").description, "54 pt")

    def test_a_reset_is_undone_from_any_page_but_what_the_keyboard_has_changed_since(self):
        for key, value in (("rowH", "61"), ("hints", "all")):
            self.session.ctl("set", key, value)
        self.session.ctl("defaults", "write", "numberRow", "--int", "1")
        self.open_advanced()
        self.window.find("Reset all settings", "push button").press()
        self.window.find("Settings reset", "label")
        self.suite.set("hints", "string", "numbers")
        self.window.go_back()
        self.window.open_page("Layout")
        self.window.find("Undo", "push button").press()
        self.wait_for_value("rowH", 61.0)
        self.assertEqual([self.suite.get(key) for key in ("numberRow", "hints")], [1, "numbers"])
        self.window.wait_until_gone("Undo", "push button")
        self.wait_for_description(self.window.find("Key height", "slider"), "61 pt")

    def test_an_import_of_kavrinctl_is_undone(self):
        self.session.ctl("set", "rowH", "61")
        self.session.ctl("set", "openaiKey", "theirs")
        blob = self.session.ctl("export")
        self.session.ctl("set", "rowH", "70")
        self.session.ctl("reset", "openaiKey")
        self.open()
        self.session.ctl("import", blob)
        self.window.find("Settings imported", "label")
        self.assertEqual([self.suite.get(key) for key in ("rowH", "openaiKey")], [61.0, "theirs"])
        self.window.find("Undo", "push button").press()
        self.wait_for_value("rowH", 70.0)
        self.assertIsNone(self.suite.get("openaiKey"))
        self.window.wait_until_gone("Undo", "push button")


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main(verbosity=2)
