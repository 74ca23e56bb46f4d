# SPDX-License-Identifier: MIT
"""Shows Kavrin dictating with the embedded speech service, and
without an account, a key, a network or a microphone: this script takes the part
of the keyboard, and recorded human speech that of the speaker.

For each recording it prints when the dictation reached which state, what was
spoken, what was transcribed, and the word error rate. Everything runs in a
session of its own and leaves nothing behind.
"""

import argparse
import os
import pathlib
import re
import socket
import sys
import textwrap
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests"))
sys.dont_write_bytecode = True

from support.private_session import (  # noqa: E402
    PORT, SPEECH, Failure, PrivateSession, enter_private_namespaces, wait_until)
from support.time_lines import TimeLine  # noqa: E402
from support.word_error_rate import WordErrorRate, word_error_rate  # noqa: E402

# All of the read prose, and one speaker of playing cards: the folder, the file of the spoken words, and the names.
RECORDINGS = [
    ("librivox", "transcription", [f"sense_and_sensibility_01_austen_64kb-{number}"
                                   for number in ("0870", "0880", "0890", "0920", "0930")]),
    ("cards", "cards.transcription", ["005"]),
]
STATE_LIMIT = 20  # seconds until the microphone must be open
TEXT_LIMIT = 120  # seconds until the text must be there
LAST_WORD = 0.3  # seconds that a speaker takes from the last word to the key


class Clip:
    """One recording: its name for people, its file, and the words that are spoken in it."""

    def __init__(self, folder, transcription, name):
        self.name = f"{folder} {name[-4:]}"
        self.path = SPEECH / folder / f"{name}.wav"
        lines = (SPEECH / folder / transcription).read_text(encoding="utf-8")
        self.spoken = re.search(rf"<s>\s*(.*?)\s*</s> \({re.escape(name)}\)", lines).group(1)


class Keyboard:
    """Does what a keyboard does: it sends commands to the loopback server and watches the shared suite."""

    def __init__(self, session):
        self._session = session
        self._suite = session.suite()

    def dictate(self, name, speak):
        """Does one dictation; `speak` returns when everything has been said. Returns its time line and the
        transcript."""
        before = self._session.http("/get").get("tStamp")
        reached = self._command("start", "recording", STATE_LIMIT)
        speak()
        reached |= self._command("stop", "done", TEXT_LIMIT)
        answer = wait_until(lambda: self._new_answer(before), "a new transcript", STATE_LIMIT)
        self._session.http(f"/used?t={answer['tStamp']!r}")
        return TimeLine(name, reached), answer["transcript"]

    def _command(self, command, last_state, limit):
        """Sends a command; returns the milliseconds to each state that it led to."""
        earlier = self._suite.get("dictationState")
        reached = {}
        begin = time.monotonic()
        self._session.http(f"/cmd?v={command}")
        while last_state not in reached:
            state = self._suite.get("dictationState")
            elapsed = time.monotonic() - begin
            if state != earlier and state is not None:
                reached.setdefault(state, 1000 * elapsed)
            if "idle" in reached:
                raise Failure(f'after "{command}" Kavrin went back to idle: it could not '
                              + ("transcribe" if command == "stop" else "use the microphone"))
            if elapsed > limit:
                raise Failure(f'after "{command}" Kavrin was not {last_state} within {limit} s, but {state}')
            time.sleep(0.001)
        return reached

    def _new_answer(self, before):
        answer = self._session.http("/get")
        return answer if answer.get("tStamp") != before else None


def main():
    options = parse_options()
    if not options.mic:
        enter_private_namespaces()
    if port_is_taken():
        raise Failure(f"port {PORT} of this machine is taken, most likely by a running Kavrin; end that first")
    if options.mic:
        demonstrate_microphone()
    else:
        demonstrate_recordings()


def parse_options():
    parser = argparse.ArgumentParser(
        prog="scripts/demo", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--mic", action="store_true",
                        help="listen to this machine's microphone instead of the recordings")
    return parser.parse_args()


def port_is_taken():
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", PORT)) == 0


def clips():
    return [Clip(folder, transcription, name) for folder, transcription, names in RECORDINGS for name in names]


def demonstrate_recordings():
    total = WordErrorRate()
    with PrivateSession() as session:
        session.start_speech_service()
        session.start_kavrin()
        keyboard = Keyboard(session)
        for clip in clips():
            def speak(path=clip.path):
                session.play(path)
                time.sleep(LAST_WORD)

            time_line, heard = keyboard.dictate(clip.name, speak)
            if not heard:
                raise Failure(f"{clip.name}: there is no transcript")
            rate = word_error_rate(clip.spoken, heard)
            report(time_line, spoken=clip.spoken, heard=heard, errors=str(rate))
            total += rate
    print(f"\nWord error rate of all {len(clips())} recordings: {total}")


def demonstrate_microphone():
    with PrivateSession(sound=False) as session:
        session.env |= sound_server_of_this_machine()
        if session.run("pactl", "info", check=False).returncode != 0:
            raise Failure("this machine has no sound server that answers (PulseAudio or PipeWire); "
                          "without --mic the demonstration brings its own")
        session.start_speech_service()
        session.start_kavrin()
        ask("Press Enter, then speak English. ")
        time_line, heard = Keyboard(session).dictate(
            "microphone", lambda: ask("Listening … press Enter when you have finished. "))
        if not heard:
            raise Failure("no word was understood")
        report(time_line, heard=heard)


def sound_server_of_this_machine():
    """The environment with which a program of the private session reaches the machine's own sound server."""
    runtime = os.environ.get("XDG_RUNTIME_DIR", f"/run/user/{os.getuid()}")
    settings = {"PULSE_SERVER": os.environ.get("PULSE_SERVER", f"unix:{runtime}/pulse/native")}
    cookie = pathlib.Path.home() / ".config" / "pulse" / "cookie"
    if "PULSE_COOKIE" not in os.environ and cookie.exists():
        settings["PULSE_COOKIE"] = str(cookie)
    return settings


def ask(question):
    try:
        input(question)
    except EOFError:
        raise Failure("there is nobody to press Enter: --mic needs a terminal") from None


def report(time_line, **texts):
    print(f"\n{time_line.name}")
    for command in ("start", "stop"):
        print(f"  {time_line.line(command)}")
    for label, text in texts.items():
        print(textwrap.fill(text, width=79, initial_indent=f"  {label:<8}", subsequent_indent=" " * 10))
    sys.stdout.flush()


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
    except (Failure, OSError, ValueError) as failure:
        sys.exit(f"demo: {failure}")
