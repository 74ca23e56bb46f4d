# SPDX-License-Identifier: MIT
"""Text messages reach ModemManager, and kavrinctl watch-messages saves their codes; ModemManager is a stand-in."""

import contextlib
import itertools
import signal
import subprocess
import unittest

import dbus
import dbus.bus

from support.private_session import PrivateSession, enter_private_namespaces, make_read_only, undo_mount, wait_until

SERVICE = "org.freedesktop.ModemManager1"
ROOT = "/org/freedesktop/ModemManager1"
MODEM = "org.freedesktop.ModemManager1.Modem"
MESSAGING = "org.freedesktop.ModemManager1.Modem.Messaging"
SMS = "org.freedesktop.ModemManager1.Sms"
OBJECT_MANAGER = "org.freedesktop.DBus.ObjectManager"
MOCK = "org.freedesktop.DBus.Mock"

# MMSmsState and MMSmsPduType.
STORED, RECEIVING, RECEIVED, SENT = 1, 2, 3, 5
DELIVER, SUBMIT, STATUS_REPORT, CDMA_DELIVER = 1, 2, 3, 32

MESSAGE, CODE = "Your code is 482913.", "482913"
LAST_CODE = "99881234"


class ModemManager:
    """Stands for ModemManager on the system bus; counts its messages from 0 as each start of it does."""

    def __init__(self, session, bus):
        self._session = session
        self._bus = bus
        self.start()
        self.modem = self.add_modem(0)

    def start(self):
        self._numbers = itertools.count()
        # The package python3-dbusmock belongs to the distribution's own Python.
        self._process = self._session.start("/usr/bin/python3", "-m", "dbusmock", "--system", "--is-object-manager",
                                            SERVICE, ROOT, OBJECT_MANAGER, stdout=subprocess.DEVNULL)
        wait_until(lambda: self._bus.name_has_owner(SERVICE), "the stand-in has its name")

    def end(self):
        self._session.end(self._process)
        wait_until(lambda: not self._bus.name_has_owner(SERVICE), "the stand-in is gone")

    def _mock(self, path):
        return dbus.Interface(self._bus.get_object(SERVICE, path, introspect=False), MOCK)

    def _emit(self, path, interface, signal_name, signature, *arguments):
        self._mock(path).EmitSignal(interface, signal_name, signature, dbus.Array(arguments, signature="v"))

    def _no_properties(self):
        return dbus.Dictionary({}, signature="sv")

    def add_modem(self, number):
        path = f"{ROOT}/Modem/{number}"
        methods = dbus.Array([], signature="(ssss)")
        self._mock(ROOT).AddObject(path, MESSAGING, self._no_properties(), methods)
        interfaces = {MODEM: self._no_properties(), MESSAGING: self._no_properties()}
        self._emit(ROOT, OBJECT_MANAGER, "InterfacesAdded", "oa{sa{sv}}", dbus.ObjectPath(path),
                   dbus.Dictionary(interfaces, signature="sa{sv}"))
        return path

    def remove_modem(self, path):
        self._emit(ROOT, OBJECT_MANAGER, "InterfacesRemoved", "oas", dbus.ObjectPath(path),
                   dbus.Array([MODEM, MESSAGING], signature="s"))
        self._mock(ROOT).RemoveObject(path)

    def store(self, text, state=RECEIVED, kind=DELIVER):
        """Puts a message on the modem without a word; returns its path."""
        path = f"{ROOT}/SMS/{next(self._numbers)}"
        properties = {"Text": text, "State": dbus.UInt32(state), "PduType": dbus.UInt32(kind), "Number": "12345",
                      "Data": dbus.ByteArray(b"")}
        self._mock(ROOT).AddObject(path, SMS, dbus.Dictionary(properties, signature="sv"),
                                   dbus.Array([], signature="(ssss)"))
        return path

    def announce(self, path, modem=None, from_network=True):
        self._emit(modem or self.modem, MESSAGING, "Added", "ob", dbus.ObjectPath(path), from_network)

    def receive(self, text, modem=None, **properties):
        path = self.store(text, **properties)
        self.announce(path, modem)
        return path

    def change(self, path, **properties):
        self._mock(path).UpdateProperties(SMS, dbus.Dictionary(properties, signature="sv"))

    def messages(self):
        objects = dbus.Interface(self._bus.get_object(SERVICE, ROOT, introspect=False), OBJECT_MANAGER)
        return [path for path in objects.GetManagedObjects() if path.startswith(f"{ROOT}/SMS/")]


class MessagesTest(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(PrivateSession(sound=False))
        self.complaints = self.session.folder / "complaints"
        self.start_system_bus()
        self.suite = self.session.suite()
        self.note_each_code()

    def start_system_bus(self):
        address = f"unix:path={self.session.folder}/run/system-bus"
        self.session.env["DBUS_SYSTEM_BUS_ADDRESS"] = address
        self.daemon = self.session.start("dbus-daemon", "--session", "--nofork", f"--address={address}",
                                         "--print-address", stderr=subprocess.DEVNULL)
        self.daemon.stdout.readline()
        self.bus = dbus.bus.BusConnection(address)
        self.addCleanup(self.bus.close)

    def note_each_code(self):
        """The suite keeps the last code only; has it write down every one."""
        self.suite.database.execute("CREATE TABLE codes (code)")
        for event in ("INSERT", "UPDATE"):
            self.suite.database.execute(f"CREATE TRIGGER note_{event} AFTER {event} ON defaults "
                                        "WHEN NEW.key = 'otpCode' BEGIN INSERT INTO codes VALUES (NEW.value); END")

    def codes(self):
        return [code for [code] in self.suite.database.execute("SELECT code FROM codes")]

    def start_modem_manager(self):
        self.modem_manager = ModemManager(self.session, self.bus)

    def watch(self, *arguments):
        """Starts the program; returns when it listens."""
        self.start_program(*arguments)
        self.assertEqual(self.program.stdout.readline(), "Waiting for messages.\n")

    def start_program(self, *arguments):
        with open(self.complaints, "w", encoding="utf-8") as complaints:
            self.program = self.session.start(self.session.bin / "kavrinctl", "watch-messages", *arguments,
                                              stderr=complaints)

    def receive_and_wait(self, code):
        """A message with a code; returns when that is stored."""
        self.modem_manager.receive(f"Your code is {code}.")
        wait_until(lambda: code in self.codes(), f"{code} is stored")

    def expect_codes(self, *codes):
        """These, and that of a message which comes last. Messages that come close together are read in any order."""
        self.receive_and_wait(LAST_CODE)
        wait_until(lambda: len(self.codes()) > len(codes), f"{codes} are stored")
        self.assertCountEqual(self.codes(), [*codes, LAST_CODE])

    def end(self):
        """Ends the program as systemd does; returns what it has said since it waits."""
        self.program.send_signal(signal.SIGTERM)
        self.assertEqual(self.program.wait(10), 0)
        return self.program.stdout.read() + self.complaints.read_text(encoding="utf-8")


class Message(MessagesTest):
    def setUp(self):
        super().setUp()
        self.start_modem_manager()

    def test_with_a_code_has_it_stored_and_stays_on_its_modem(self):
        self.watch()
        path = self.modem_manager.receive(MESSAGE)
        self.suite.wait_for("otpUsed", 0)
        stored = {key: self.suite.get(key) for key in ("otpCode", "otpPure", "otpSource")}
        self.assertEqual(stored, {"otpCode": CODE, "otpPure": 0, "otpSource": "message"})
        self.assertEqual(self.modem_manager.messages(), [path])
        self.assertEqual(self.end(), "")

    def test_without_a_code_leaves_the_earlier_one(self):
        self.watch()
        self.modem_manager.receive(MESSAGE)
        self.modem_manager.receive("Order 55512 is on its way.")
        self.modem_manager.receive("")
        self.expect_codes(CODE)

    def test_containing_the_word_counts_in_capitals_or_not(self):
        self.watch("--containing", "cOdE")
        self.modem_manager.receive("Passwort/otp 111222")
        self.modem_manager.receive("Your CODE is 333444.")
        self.modem_manager.receive("12345678")
        self.expect_codes("333444")

    def test_in_parts_counts_once_when_it_is_complete(self):
        self.watch()
        path = self.modem_manager.receive("", state=RECEIVING)
        self.receive_and_wait("111222")
        self.modem_manager.change(path, Text="Your code is 4829")
        self.modem_manager.change(path, Text=MESSAGE)
        self.receive_and_wait("333444")
        self.modem_manager.change(path, State=dbus.UInt32(RECEIVED))
        self.modem_manager.change(path, Number="54321")
        self.expect_codes("111222", "333444", CODE)

    def test_that_is_completed_in_one_change_counts(self):
        self.watch()
        path = self.modem_manager.receive("Your code is 4829", state=RECEIVING)
        self.receive_and_wait("111222")
        self.modem_manager.change(path, Text=MESSAGE, State=dbus.UInt32(RECEIVED))
        self.expect_codes("111222", CODE)

    def test_announced_twice_counts_once(self):
        self.watch()
        path = self.modem_manager.receive(MESSAGE)
        self.modem_manager.announce(path)
        self.suite.wait_for("otpUsed", 0)
        self.modem_manager.announce(path)
        self.expect_codes(CODE)

    def test_of_the_user_does_not_count(self):
        self.watch()
        own = self.modem_manager.store(MESSAGE, state=STORED, kind=SUBMIT)
        self.modem_manager.announce(own, from_network=False)
        self.modem_manager.change(own, State=dbus.UInt32(SENT))
        self.modem_manager.receive("Delivered: code 111222", kind=STATUS_REPORT)
        self.expect_codes()

    def test_of_a_cdma_network_counts(self):
        self.watch()
        self.modem_manager.receive(MESSAGE, kind=CDMA_DELIVER)
        self.expect_codes(CODE)

    def test_that_was_there_before_does_not_count(self):
        before = self.modem_manager.receive(MESSAGE)
        self.watch()
        self.modem_manager.change(before, Number="54321")
        # What ModemManager finds on a modem that it starts to use.
        self.modem_manager.announce(self.modem_manager.store("Your code is 111222."), from_network=False)
        self.expect_codes()

    def test_is_in_no_log_even_if_everything_is_to_be_logged(self):
        self.session.env.update(QT_LOGGING_RULES="*=true", QDBUS_DEBUG="1", QT_FORCE_STDERR_LOGGING="1")
        self.watch()
        self.modem_manager.receive(MESSAGE)
        self.expect_codes(CODE)
        said = self.end()
        self.assertIn("kavrin.", said)
        for secret in ("Your code", CODE):
            self.assertNotIn(secret, said)

    def test_that_is_gone_again_is_told_and_the_next_counts(self):
        self.watch()
        self.modem_manager.announce(f"{ROOT}/SMS/77")
        self.expect_codes()
        self.assertRegex(self.end(), r"^kavrinctl: A message has come, but it could not be read: .*\n$")

    def test_whose_code_cannot_be_stored_is_told_without_it_and_the_next_counts(self):
        self.watch()
        self.suite.database.close()
        home = self.session.folder / "home"
        make_read_only(home)
        with contextlib.ExitStack() as mounted:
            mounted.callback(undo_mount, home)
            self.modem_manager.receive(MESSAGE)
            wait_until(lambda: self.complaints.stat().st_size, "it says that the code is not stored")
        self.suite = self.session.suite()
        self.expect_codes()
        said = self.end()
        self.assertRegex(said, r"^kavrinctl: The code in a message could not be stored: .*\n$")
        self.assertNotIn(CODE, said)


class Modem(MessagesTest):
    def setUp(self):
        super().setUp()
        self.start_modem_manager()
        self.watch()

    def test_that_comes_later_is_listened_to_beside_the_first(self):
        second = self.modem_manager.add_modem(1)
        self.modem_manager.receive("111222", second)
        wait_until(lambda: "111222" in self.codes(), "the code of the second one is stored")
        self.receive_and_wait("333444")
        self.expect_codes("111222", "333444")

    def test_that_goes_and_comes_back_is_listened_to(self):
        self.receive_and_wait("111222")
        self.modem_manager.remove_modem(self.modem_manager.modem)
        self.modem_manager.modem = self.modem_manager.add_modem(1)
        self.expect_codes("111222")


class Service(MessagesTest):
    """ModemManager comes and goes."""

    def test_that_starts_late_is_listened_to(self):
        self.watch()
        self.start_modem_manager()
        self.expect_codes()
        self.assertEqual(self.end(), "")

    def test_that_restarts_counts_its_messages_anew(self):
        self.start_modem_manager()
        self.watch()
        self.modem_manager.receive("", state=RECEIVING)
        self.receive_and_wait("111222")
        self.modem_manager.end()
        self.modem_manager.start()
        self.modem_manager.add_modem(0)
        self.modem_manager.receive("333444")
        self.modem_manager.receive("555666")
        self.expect_codes("111222", "333444", "555666")
        self.assertEqual(self.end(), "")

    def test_that_never_runs_is_waited_for_until_the_program_is_ended(self):
        self.watch()
        self.assertEqual(self.end(), "")


class Bus(MessagesTest):
    def expect_end(self, pattern):
        self.assertEqual(self.program.wait(30), 1)
        self.assertRegex(self.complaints.read_text(encoding="utf-8"), pattern)

    def test_that_is_missing_ends_it_at_once(self):
        self.session.env["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.session.folder}/run/no-system-bus"
        self.start_program()
        self.expect_end("^kavrinctl: Messages cannot be waited for, because the system bus cannot be reached: "
                        ".*no-system-bus")

    def test_that_ends_later_ends_it(self):
        self.watch()
        self.session.end(self.daemon)
        self.expect_end("^kavrinctl: The system bus has ended the connection; ")


class Usage(MessagesTest):
    def test_that_is_wrong_is_explained(self):
        for arguments in (["--containing"], ["--containing", ""], ["code"], ["--all"]):
            with self.subTest(arguments):
                done = self.session.run(self.session.bin / "kavrinctl", "watch-messages", *arguments, check=False)
                self.assertEqual(done.returncode, 2)
                self.assertIn("kavrinctl watch-messages [--containing WORD]", done.stderr)


if __name__ == "__main__":
    enter_private_namespaces()
    unittest.main()
