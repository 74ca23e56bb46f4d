# SPDX-License-Identifier: MIT
"""Measures the preference store beside QSettings and GNOME's dconf with the same settings in them, the time until
another process sees a change, the exported text, and the walk through the catalogue."""

import json
import pathlib
import statistics
from xml.sax.saxutils import quoteattr

from figures import google_benchmark
from support.private_session import Failure, PrivateSession
from table import Row, at_most, ratio_at_most

OPTIONS = {"repetitions": (9, 2, "repetitions, of which the median is taken"),
           "processes": (51, 3, "fresh processes that read"),
           "writes": (300, 20, "writes through dconf, and writes that another process sees")}
SCHEMA = "app.kavrin.Measured"
TYPES = {"toggle": "b", "slider": "d", "choice": "s", "text": "s"}


def in_turn(session, rounds, *ways):
    """For each way, which is arguments of store_processes, the medians of its output in microseconds."""
    printed = {way: [] for way in ways}
    for _ in range(rounds):
        for way in ways:
            printed[way] += store_processes(session, *way)
    return [tuple(statistics.median(column) / 1000 for column in zip(*lines)) for lines in printed.values()]


def store_processes(session, *arguments):
    """The numbers in each line of the program's output."""
    program = session.bin.with_name("tests-bin") / "store_processes"
    output = session.run(program, session.folder / "home", *arguments).stdout
    return [[int(number) for number in line.split()] for line in output.splitlines()]


def write_schema(session):
    """Makes a compiled schema with the catalogue's settings; returns its folder."""
    folder = session.folder / "schemas"
    folder.mkdir()
    items = [item for page in json.loads(session.ctl("catalogue", "--json"))
             for section in page["sections"] for item in section["items"]]
    keys = "".join(
        f"<key name={quoteattr(item['key'])} type='{TYPES[item['kind']]}'>"
        f"<default>{json.dumps(item['default'])}</default></key>" for item in items if item["kind"] in TYPES)
    (folder / f"{SCHEMA}.gschema.xml").write_text(
        f"<schemalist><schema id='{SCHEMA}' path='/app/kavrin/measured/'>{keys}</schema></schemalist>",
        encoding="utf-8")
    compiler = next(pathlib.Path("/usr/lib").glob("*/glib-2.0/glib-compile-schemas"))
    # Without --allow-any-name, keys would have to be lower case.
    session.run(compiler, "--strict", "--allow-any-name", folder)
    return folder


def dconf_writes(session, writes):
    """The microseconds of each write through GSettings and dconf."""
    session.env["GSETTINGS_BACKEND"] = "dconf"
    output = session.run("/usr/bin/python3", pathlib.Path(__file__).with_name("dconf_writes.py"),
                         write_schema(session), SCHEMA, "rowH", str(writes)).stdout
    if not pathlib.Path(session.env["XDG_CONFIG_HOME"], "dconf", "user").exists():
        raise Failure("dconf has stored nothing: dconf-gsettings-backend is missing")
    return [int(line) / 1000 for line in output.splitlines()]


def measure(options):
    with PrivateSession(sound=False) as session:
        store_processes(session, "fill")
        first, first_qsettings = in_turn(session, options.processes, ("read", "prefs"), ("read", "qsettings"))
        writes = str(options.writes)
        seen, seen_qsettings, seen_pipe = in_turn(
            session, 1, ("see", "suite", writes), ("see", "qsettings", writes), ("see", "pipe", writes))
        dconf = dconf_writes(session, options.writes)
        medians = google_benchmark(session, "store_benchmark", options.repetitions)

    def processor_time(name, unit=1):
        return (medians[name]["cpu_time"] / unit,)

    def read_again(store):
        return processor_time(f"{store}Read") + processor_time(f"{store}ReadByOthers")

    def elapsed_microseconds(name):
        return (medians[name]["real_time"] / 1000,)

    return [
        Row("Reading a setting again", "ns", read_again("prefs"),
            (("QSettings, one kept", read_again("settings")),
             ("QSettings, one made for the read", read_again("newSettings"))),
            (at_most(100), ratio_at_most(1), at_most(100, figure=1), ratio_at_most(1, figure=1)),
            ("by one QString of the key", "by another each time"),
            note="All stores hold the catalogue's 88 settings and a few keys more. A QSettings may be kept where one "
                 "thread reads; from several, as Prefs allows, each read or each thread needs its own."),
        Row("First reads in a fresh process", "µs", first, (("QSettings", first_qsettings),),
            labels=("one setting", "all"),
            note="From opening the store as the last process left it: the suite's log is read, and its pages are "
                 "checked for damage."),
        Row("Writing a setting", "µs", elapsed_microseconds("prefsSet"),
            (("QSettings with sync", elapsed_microseconds("settingsSetAndSync")),
             ("dconf with g_settings_sync", (statistics.median(dconf),))), (ratio_at_most(0.1),),
            note="With the revision's stamp, two keys in all. A write has reached the other processes and outlives a "
                 "killed process; the peers wait for the disk besides."),
        Row("Another process's write seen by polling", "µs", seen,
            (("QSettings with sync", seen_qsettings), ("a pipe", seen_pipe)),
            labels=("from its call", "from its return"),
            note="One key of the suite; the reader polls without a pause. What is negative was seen before the call "
                 "returned."),
        Row("Exporting all settings", "µs", processor_time("prefsExport", 1000),
            (("the same members with QJsonDocument", processor_time("plainExport", 1000)),),
            note="The peer has the values in memory; Kavrin reads them from the suite."),
        Row("Walking the catalogue as the screens do", "µs", processor_time("catalogueWalk", 1000),
            (("the same walk, values from a QHash", processor_time("plainWalk", 1000)),),
            note="Each of the 88 settings' visibility and value, numbers as text, choices as labels; the peer looks up "
                 "the bare value."),
    ]
