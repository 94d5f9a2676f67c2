"""The host process on the device, and its log."""

import subprocess
import threading
from collections.abc import Iterable
from datetime import datetime
from pathlib import Path

from stories.device import Device, Failed


class Host:
    """Starts and ends the host of `command`, one at a time. `lines` is the log of all of them, each
    line with the time of day it arrived at; the file `log` has it with the date as well."""

    def __init__(self, device: Device, command: str, log: Path) -> None:
        self.lines: list[str] = []
        self.log = log
        self.pid = 0
        self._arrived = threading.Condition()
        self._device = device
        self._command = command
        self._process: subprocess.Popen[str]

    def start(self) -> None:
        self._process, self.pid = self._device.start(self._command)
        threading.Thread(target=self._read, args=[self._process.stdout], daemon=True).start()

    def end(self, signal: str) -> int:
        """Sends `signal` to it, which may have ended by itself; its status."""
        self._device.ask(f"kill -{signal} {self.pid}")
        return self._process.wait()

    def find(self, text: str, first: int) -> int | None:
        """The index of the first line from `first` on that holds `text`."""
        return next((i for i in range(first, len(self.lines)) if text in self.lines[i]), None)

    def expect(self, text: str, first: int, seconds: float | None) -> int:
        """The same, once it is there; raises Failed when it does not come in time."""
        with self._arrived:
            self._arrived.wait_for(lambda: self.find(text, first) is not None, seconds)
            found = self.find(text, first)
        if found is None:
            raise Failed(f'no "{text}" in the log within {seconds} s')
        return found

    def _read(self, output: Iterable[str]) -> None:
        with open(self.log, "a", encoding="utf-8", buffering=1) as log:
            for line in output:
                date, time = datetime.now().isoformat(timespec="milliseconds").split("T")
                stamped = f"{time} {line.rstrip()}"
                log.write(f"{date} {stamped}\n")
                with self._arrived:
                    self.lines.append(stamped)
                    self._arrived.notify_all()
