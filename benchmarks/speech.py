# SPDX-License-Identifier: MIT
"""Measures how long kavrin-stt takes for a second of speech, and how many words it gets wrong, beside its engine with
the engine's own settings. Both hear the same recordings in turn."""

import json
import re
import statistics
import time
import wave

from figures import processor_seconds
from support.private_session import SPEECH, PrivateSession
from support.word_error_rate import WordErrorRate, word_error_rate
from table import Row, at_most, ratio_at_most

OPTIONS = {"rounds": (5, 1, "times to hear the recordings, of which the median is taken")}
TRANSCRIPTIONS = ("librivox/transcription", "cards/cards.transcription")  # lines: <s> the words spoken </s> (name)


def recordings():
    """The spoken words of each recording, by path."""
    spoken = {}
    for transcription in TRANSCRIPTIONS:
        path = SPEECH / transcription
        for words, name in re.findall(r"<s>\s*(.*?)\s*</s> \((.*)\)", path.read_text(encoding="utf-8")):
            spoken[path.with_name(f"{name}.wav")] = words
    return spoken


def length(path):
    """The length in seconds."""
    with wave.open(str(path)) as recording:
        return recording.getnframes() / recording.getframerate()


def start_service(session):
    """The process and its URL."""
    service = session.start(session.bin / "kavrin-stt", "--port", "0")
    return service, service.stdout.readline().strip()


def ask(session, service, url, paths):
    """Seconds of processor time, seconds to the answers, and the answers."""
    processor, begun = processor_seconds(service.pid), time.monotonic()
    heard = [session.run("curl", "--silent", "--fail", "--form", "model=whisper-1", "--form", "response_format=text",
                         "--form", f"file=@{path}", url).stdout for path in paths]
    return processor_seconds(service.pid) - processor, time.monotonic() - begun, heard


def ask_peer(session, paths):
    """Like ask(). The peer loads its model again, which does not count."""
    lines = session.run(session.bin.with_name("tests-bin") / "speech_peer", *paths).stdout.splitlines()
    answers = [json.loads(line) for line in lines]
    return (sum(answer["processor"] for answer in answers), sum(answer["seconds"] for answer in answers),
            [answer["text"] for answer in answers])


def of_a_second(rounds, seconds_of_speech):
    return tuple(statistics.median(figures) / seconds_of_speech for figures in list(zip(*rounds))[:2])


def error_rate(spoken, heard):
    return sum(map(word_error_rate, spoken, heard), WordErrorRate())


def measure(options):
    spoken = recordings()
    seconds_of_speech = sum(map(length, spoken))
    ours, peers = [], []
    with PrivateSession(sound=False) as session:
        service, url = start_service(session)
        for _ in range(options.rounds):
            ours.append(ask(session, service, url, spoken))
            peers.append(ask_peer(session, spoken))
    errors, peers_errors = (error_rate(spoken.values(), rounds[0][-1]) for rounds in (ours, peers))
    peer = "PocketSphinx with its own settings"
    return [
        Row("kavrin-stt, a second of speech", "s", of_a_second(ours, seconds_of_speech),
            ((peer, of_a_second(peers, seconds_of_speech)),), (at_most(0.25), at_most(0.25, figure=1)),
            ("of processor time", "to the answer"),
            note=f"{len(spoken)} recordings of Debian's pocketsphinx-testdata, those that tell what is spoken: "
                 f"{seconds_of_speech:.0f} s, {errors.spoken} words.",
            missed="Where other programs want the processor as well, the answer waits for them; what the work itself "
                   "takes is the processor time."),
        Row("kavrin-stt, word error rate", "%", (100 * errors.rate,), ((peer, (100 * peers_errors.rate,)),),
            (ratio_at_most(1),)),
    ]
