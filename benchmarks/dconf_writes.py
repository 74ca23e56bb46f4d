# SPDX-License-Identifier: MIT
"""Writes through GSettings and dconf as a GNOME application does: dconf_writes.py SCHEMAS SCHEMA KEY N prints the
nanoseconds of each of N writes, with the wait until it is stored. benchmarks/store.py runs it."""

import sys
import time

from gi.repository import Gio

schemas, schema, key, writes = sys.argv[1:]
source = Gio.SettingsSchemaSource.new_from_directory(schemas, None, False)
settings = Gio.Settings.new_full(source.lookup(schema, False), None, None)
for name in settings.props.settings_schema.list_keys():
    settings.set_value(name, settings.get_default_value(name))
Gio.Settings.sync()
for value in range(int(writes)):
    begun = time.monotonic_ns()
    settings.set_double(key, value)
    Gio.Settings.sync()
    print(time.monotonic_ns() - begun)
