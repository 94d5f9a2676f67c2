#!/usr/bin/env python3
"""Types every command of the demo's prompt, on a terminal as its user has one."""

import os
import pty
import re
import select
import subprocess
import sys
import time

CTRL_C = "\x03"

# What is typed and what the screen must show then. "look" is typed anew until it does.
ROWS = [
    ("help", r"The bench is open"),
    ("look", r"streamer +running +1\.0\.0.*recorder +launched"),
    ("kill streamer", r""),
    ("kill nobody", r"no nobody runs"),
    ("look", r"streamer +heartbeat lost"),
    ("publish streamer 1.1.0", r"process streamer 1\.1\.0 under latest"),
    ("publish streamer", r"publish: missing a required argument: 'version'"),
    ("publish streamer 9.9", r"streamer-9\.9"),
    ("look", r"streamer +running +1\.1\.0"),
    ("promote", r"copied latest to lastknowngood"),
    ("busy", r""),
    ("publish streamer 1.2.0", r"process streamer 1\.2\.0 under latest"),
    ("look", r"the process is busy"),
    ("free", r""),
    ("look", r"launched 1\.2\.0"),
    ("hang recorder", r""),
    ("look", r"recorder +heartbeat lost"),
    ("withdraw recorder", r"withdrew recorder from latest"),
    ("withdraw recorder", r"cloud: .*recorder"),
    ("look", r"recorder +dropped"),
    ("follow", r"PROCESS +STATE"),
    ("echo $((40 + 2))", r"42"),
    ("ls /nowhere", r"cannot access"),
]


class Prompt:
    """The demo's prompt behind a terminal of its own."""

    def __init__(self) -> None:
        self.terminal, inner = pty.openpty()
        self.process = subprocess.Popen(
            ["setsid", "--ctty", "--wait", "scripts/demo", "--prompt"],
            stdin=inner, stdout=inner, stderr=inner)
        os.close(inner)

    def read_until(self, pattern: str, seconds: float) -> str:
        """What the screen showed up to there, or until the time was over."""
        shown, end = "", time.monotonic() + seconds
        while not re.search(pattern, shown, re.DOTALL) and time.monotonic() < end:
            if select.select([self.terminal], [], [], 0.1)[0]:
                shown += os.read(self.terminal, 65536).decode(errors="replace")
        return shown

    def type(self, text: str) -> None:
        os.write(self.terminal, text.encode())

    def answer(self, line: str, expected: str) -> str:
        self.type(line + "\n")
        if line == "follow":
            shown = self.read_until(expected, 10)
            self.type(CTRL_C)
            return shown + self.read_until("bench> $", 10)
        return self.read_until("bench> $", 10)


def shows(prompt: Prompt, line: str, expected: str) -> bool:
    end = time.monotonic() + 12
    while True:
        shown = prompt.answer(line, expected)
        if re.search(expected, shown, re.DOTALL):
            return True
        if line != "look" or time.monotonic() > end:
            print(f"FAILED: {line}: no {expected!r} in\n{shown}")
            return False
        time.sleep(0.5)


def main() -> int:
    prompt = Prompt()
    intro = prompt.read_until("bench> $", 600)  # it may have to build first
    offered = {word for words in re.findall(r"^  ([a-z]+(?: / [a-z]+)?) ", intro, re.MULTILINE)
               for word in words.split(" / ")}
    failed = [line for line, expected in ROWS if not shows(prompt, line, expected)]
    if untyped := offered - {line.split()[0] for line, _ in ROWS}:
        failed.append(f"never typed: {untyped}")
    prompt.type("exit\n")
    prompt.read_until("as a page", 10)
    status = prompt.process.wait()
    answered = len(ROWS) - len(failed)
    print(f"{answered} of {len(ROWS)} lines had their answer; status {status}", *failed)
    return 1 if failed or status or not offered else 0


if __name__ == "__main__":
    sys.exit(main())
