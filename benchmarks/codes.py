# SPDX-License-Identifier: MIT
"""Measures finding the code in a message, beside the same with Qt's and with the standard library's expressions."""

from figures import google_benchmark
from support.private_session import PrivateSession
from table import Row

OPTIONS = {"repetitions": (9, 2, "repetitions, of which the median is taken")}


def measure(options):
    with PrivateSession(sound=False) as session:
        medians = google_benchmark(session, "codes_benchmark", options.repetitions)
        of_a_message = {name: (1e9 / result["items_per_second"],) for name, result in medians.items()}
    return [Row(
        "Finding the code in a message", "ns", of_a_message["kavrinCodes"],
        (("Qt's expressions", of_a_message["qtExpressions"]),
         ("std::regex", of_a_message["standardExpressions"])),
        note="benchmarks/messages.txt: English and Turkish, most of 120 to 200 characters, one core. The peers do not "
             "count characters; that they find the same is checked first.")]
