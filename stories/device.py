"""How a command runs on the device that a story plays on: the one place that knows."""

import subprocess
import time
from collections.abc import Callable
from dataclasses import dataclass


class Failed(Exception):
    """Something that a story needs did not happen; the text says what."""


@dataclass(frozen=True)
class Device:
    """Runs command lines on the device: behind `shell`, which is a plain one where the story itself
    runs on the device, as it does on the bench. It takes `pace` times as long as that for what it
    does."""

    shell: tuple[str, ...] = ("sh", "-c")
    pace: float = 1

    def run(self, line: str, stdin: str = "") -> str:
        """Its output without the last newline; raises Failed when it fails."""
        done = subprocess.run([*self.shell, line], input=stdin, capture_output=True, text=True)
        if done.returncode != 0:
            raise Failed(f"{line}: {done.stderr.strip() or f'status {done.returncode}'}")
        return done.stdout.rstrip("\n")

    def ask(self, line: str) -> str:
        """The same for what may fail: nothing then."""
        try:
            return self.run(line)
        except Failed:
            return ""

    def start(self, line: str) -> tuple[subprocess.Popen[str], int]:
        """Starts the program of `line`, with its output in a pipe, out of the reach of the
        terminal's Ctrl-C; also its process ID on the device."""
        process = subprocess.Popen([*self.shell, f"echo $$; exec {line}"], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, text=True, process_group=0)
        assert process.stdout is not None
        return process, int(process.stdout.readline())


def wait_for(seconds: float, condition: Callable[[], bool]) -> bool:
    """Whether `condition` came true in time."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() >= deadline:
            return False
        time.sleep(0.02)
    return True
