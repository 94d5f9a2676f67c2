"""The emulated machine as a device of a story, which runs beside it: see device/machine."""

import json
import os
import socket
import subprocess
from pathlib import Path

from stories.device import Device, Failed

EXAMPLES = Path("build/mipsel/examples")
LIBRARIES = "/usr/lib/tolvar"
HOST = f"LD_LIBRARY_PATH={LIBRARIES} {LIBRARIES}/tolvar-host {LIBRARIES}/libtolvar.so"


def device_of(folder: Path) -> Device:
    """The machine whose folder it is."""
    return Device(("ssh", "-F", str(folder / "ssh"), "-o", "BatchMode=yes", "machine"), pace=3)


def here() -> Device:
    """The machine that the story was started beside."""
    return device_of(Path(os.environ["TOLVAR_MACHINE"]))


def monitor(line: str) -> None:
    """Gives a line to QEMU's monitor, of the machine that the story was started beside."""
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(f"{os.environ['TOLVAR_MACHINE']}/qmp")
        stream = connection.makefile("rw")
        for command, arguments in [("qmp_capabilities", {}),
                                   ("human-monitor-command", {"command-line": line})]:
            json.dump({"execute": command, "arguments": arguments}, stream)
            stream.flush()
            answer = next(said for said in map(json.loads, stream)
                          if "return" in said or "error" in said)
    if answer.get("return") != "":
        raise Failed(f"{line}: {answer}")


class Machine:
    """One that a story starts itself, with `options` of device/machine. Raises Failed when
    it does not come up."""

    def __init__(self, *options: str) -> None:
        tell = 'echo "$TOLVAR_MACHINE"; exec cat >/dev/null'
        self._process = subprocess.Popen(
            ["device/machine", *options, "--beside", "--", "sh", "-c", tell], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, process_group=0)
        assert self._process.stdin is not None and self._process.stdout is not None
        self.folder = Path(self._process.stdout.readline().rstrip("\n"))
        if not (self.folder / "ssh").exists():
            raise Failed("the machine did not start")
        self.device = device_of(self.folder)

    def end(self) -> None:
        """Takes its power away; what it has written is in its images then."""
        self._process.communicate()

    def __enter__(self) -> "Machine":
        return self

    def __exit__(self, *_: object) -> None:
        self.end()
