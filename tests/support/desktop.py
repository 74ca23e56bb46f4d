# SPDX-License-Identifier: MIT
"""A desktop's services on the session bus of a private session: its tray and its notifications."""

import subprocess

from support.private_session import wait_until

APPLICATION = ("app.kavrin.Kavrin", "/app/kavrin/Kavrin", "org.freedesktop.Application")
DICTATION = ("app.kavrin.Kavrin", "/app/kavrin/Kavrin/Dictation", "app.kavrin.Dictation")
_MOCK = "org.freedesktop.DBus.Mock"


class Bus:
    """The session bus as another program calls it."""

    def __init__(self, session):
        from gi.repository import Gio, GLib
        self._glib = GLib
        self.errors = GLib.GError
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self._connection = Gio.DBusConnection.new_for_address_sync(
            session.env["DBUS_SESSION_BUS_ADDRESS"], flags, None, None)

    def call(self, service, path, interface, method, signature="()", *arguments):
        """What a method returns; the signature is that of GVariant, such as "(su)"."""
        parameters = self._glib.Variant(signature, arguments)
        return self._connection.call_sync(service, path, interface, method, parameters, None, 0, 10_000,
                                          None).unpack()

    def send(self, service, path, interface, method):
        """Calls a method, and does not wait for the answer."""
        self._connection.call(service, path, interface, method, None, None, 0, 10_000, None, None)

    def get(self, service, path, interface, name):
        return self.call(service, path, "org.freedesktop.DBus.Properties", "Get", "(ss)", interface, name)[0]

    def has(self, service):
        return self.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner", "(s)", service)[0]

    def process_of(self, service):
        """The number of the process that has this name, 0 where none has."""
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
        try:
            return self.call(*bus, "GetConnectionUnixProcessID", "(s)", service)[0]
        except self.errors:
            return 0

    def act(self, action, *texts):
        """Asks the application for an action, as a launcher does."""
        values = [self._glib.Variant("s", text) for text in texts]
        self.call(*APPLICATION, "ActivateAction", "(sava{sv})", action, values, {})


class _Mock:
    """A service that notes what it is asked."""

    def __init__(self, session, bus, service, path, interface, *options):
        self.bus = bus
        self.service = service
        self.path = path
        self.interface = interface
        self._session = session
        self._options = options
        self.start()

    def start(self):
        where = self._options or (self.service, self.path, self.interface)
        self.process = self._session.start("/usr/bin/python3", "-m", "dbusmock", "--session", *where,
                                           stdout=subprocess.DEVNULL)
        wait_until(lambda: self.bus.has(self.service), f"{self.service} is there")

    def end(self):
        self._session.end(self.process)
        wait_until(lambda: not self.bus.has(self.service), f"{self.service} is gone")

    def mock(self, method, signature, *arguments):
        return self.bus.call(self.service, self.path, _MOCK, method, signature, *arguments)

    def calls(self, method):
        """The arguments of each call of a method, the first one first."""
        return [arguments for _, name, arguments in self.mock("GetCalls", "()")[0] if name == method]

    def emit(self, name, signature, *values):
        variants = [self.bus._glib.Variant(kind, value) for kind, value in zip(signature, values, strict=True)]
        self.mock("EmitSignal", "(sssav)", self.interface, name, signature, variants)


class Tray(_Mock):
    """A panel with a place for small icons."""

    def __init__(self, session, bus):
        super().__init__(session, bus, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                         "org.kde.StatusNotifierWatcher")

    def start(self):
        super().start()
        self.mock("AddMethod", "(sssss)", self.interface, "RegisterStatusNotifierItem", "s", "", "")
        self.mock("AddProperty", "(ssv)", self.interface, "IsStatusNotifierHostRegistered",
                  self.bus._glib.Variant("b", True))
        self.emit("StatusNotifierHostRegistered", "")

    def item(self):
        """The icon that was registered last; waits for it."""
        calls = wait_until(lambda: self.calls("RegisterStatusNotifierItem"), "an icon is registered")
        return TrayItem(self.bus, calls[-1][0])


class TrayItem:
    """An icon in the tray."""

    def __init__(self, bus, service):
        self.bus = bus
        self.service = service

    def _get(self, name):
        return self.bus.get(self.service, "/StatusNotifierItem", "org.kde.StatusNotifierItem", name)

    @property
    def tool_tip(self):
        return self._get("ToolTip")[2]

    @property
    def picture(self):
        """The icon's largest picture: width, height, and its bytes."""
        return max(self._get("IconPixmap"))

    def click(self):
        self.bus.call(self.service, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", "(ii)", 0, 0)

    def menu(self):
        """The entries: title to number."""
        layout = self.bus.call(self.service, self._get("Menu"), "com.canonical.dbusmenu", "GetLayout", "(iias)", 0, -1,
                               [])[1]
        return {properties["label"]: number for number, properties, _ in layout[2]}

    def choose(self, title):
        self.bus.call(self.service, self._get("Menu"), "com.canonical.dbusmenu", "Event", "(isvu)",
                      self.menu()[title], "clicked", self.bus._glib.Variant("s", ""), 0)


class Notifications(_Mock):
    """The service that shows notifications."""

    def __init__(self, session, bus, capabilities="body actions"):
        super().__init__(session, bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                         "org.freedesktop.Notifications", "--template", "notification_daemon", "--parameters",
                         f'{{"capabilities": "{capabilities}"}}')

    def shown(self):
        """The title and the text of each one, the first one first."""
        return [(call[3], call[4]) for call in self.calls("Notify")]

    def replaced(self):
        """The number of the notification that each one took the place of, 0 where there was none."""
        return [call[1] for call in self.calls("Notify")]

    def actions(self):
        return self.calls("Notify")[-1][5]

    def click(self):
        self.emit("ActionInvoked", "us", 1, "default")

    def press(self, button):
        self.emit("ActionInvoked", "us", 1, button)
