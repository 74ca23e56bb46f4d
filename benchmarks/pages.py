# SPDX-License-Identifier: MIT
"""Measures how soon a page of the settings is shown, a dragged slider followed, a setting found and a key typed into a
long dictionary, beside an empty page, an idle frame and a plain editor."""

import json
import statistics

from support.private_session import PrivateSession
from table import Row, at_most

OPTIONS = {}


def measure(_):
    with PrivateSession(sound=False) as session:
        figures = json.loads(session.run(session.bin.with_name("tests-bin") / "page_benchmark").stdout)
    openings = {page["title"]: page["milliseconds"] for page in figures["pages"]}
    slowest = max(openings, key=openings.get)
    empty = figures["emptyPage"]
    search = figures["search"]
    return [
        Row("Opening a page, until the next frame", "ms", (statistics.median(openings.values()), openings[slowest]),
            (("pushing an empty page on the same stack", (empty, empty)),), (at_most(60, figure=1),),
            ("median page", f'slowest, "{slowest}"'), note="On the offscreen platform, which draws in software."),
        Row("A step of a dragged slider, until the next frame", "ms", (figures["slider"]["step"],),
            (("a frame in which nothing has changed", (figures["slider"]["unchanged"],)),), (at_most(33),),
            note="The step is stored within that time."),
        Row("The same with the preview of the keyboard beside it", "ms", (figures["preview"]["step"],),
            (("a frame in which nothing has changed", (figures["preview"]["unchanged"],)),), (at_most(33),),
            note="Each step changes the height of every key."),
        Row("A key typed into the search, until its results are shown", "ms",
            (search["key"], search["slowestKey"], search["first"]),
            (("a frame in which nothing has changed", (figures["slider"]["unchanged"],) * 3),),
            (at_most(16), at_most(16, figure=1), at_most(16, figure=2)),
            ("median", "slowest", "the first one, which opens the search")),
        Row("A key typed into a dictionary of 100,000 and of 2,000,000 characters, until the next frame", "ms",
            (figures["dictionary"]["page"], figures["largeDictionary"]["page"]),
            (("a plain TextEdit of Qt's", (figures["dictionary"]["plain"], figures["largeDictionary"]["plain"])),),
            (at_most(33),), ("100,000", "2,000,000"), note="Stored within that time, on the same thread here."),
    ]
