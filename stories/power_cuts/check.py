"""A running machine that is given one state of its disk after the other."""

import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

from stories.device import Failed
from stories.machine import Machine
from stories.power_cuts.disk import card_fault, flash_fault, has_card, mended
from stories.power_cuts.record import LIVE, PROGRAMS, Release

ON_MACHINE = Path(__file__).with_name("on_machine.sh")
SLOT = re.compile(r"/media/mmc/\.ota/[0-9a-f]{1,8}")


@dataclass(frozen=True)
class Outcome:
    """Of a start: what is wrong with device and flash, if anything; how many copies with a wrong
    MD5 the host met; whether the card could not be written any more, whether it needs a check."""

    faults: list[str]
    torn: int
    card_refuses: bool
    card_needs_check: bool


class Checker:
    """Checks states of the disks of recordings, after `expect`; one device at a time."""

    def __init__(self, machine: Machine, disk: Path, release: Release) -> None:
        self._machine = machine
        self._disk = disk
        self._release = release
        self._wanted: dict[str, str] = {}
        device = machine.device
        device.run("cat >/tmp/cacert.pem", (release.cloud.certs / "ca.pem").read_text())
        device.run("cat >/run/on_machine", ON_MACHINE.read_text())
        device.run("cat >/run/programs", "".join(f"{LIVE}/{name}\n" for name in PROGRAMS))
        self._session = subprocess.Popen([*device.shell, "sh /run/on_machine"], text=True,
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self._ask("leave")  # what it mounted as it came up

    def expect(self, version: str) -> None:
        self._release.publish(version)
        self._wanted = self._release.wanted(version)
        self._machine.device.run("cat >/run/want", "".join(
            f"{md5}  {path}\n" for path, md5 in self._wanted.items()))

    def look(self, image: bytes | bytearray) -> str:
        """The files of the state `image` with their MD5; it stays mounted."""
        with open(self._disk, "r+b") as disk:
            disk.write(image)
        return "\n".join(self._ask("look" if has_card(image) else "look without card"))

    def start(self, with_card: bool) -> Outcome:
        """Starts the device from the state that was looked at last."""
        told = self._ask("run")
        faults = [line for line in told if line.startswith("!") or "EXT4" in line]
        if "! does not converge" in faults:
            faults = told
        faults += self._too_many([line.split("  ")[1] for line in self._ask("show")
                                  if "  " in line])
        faults += self._ask("leave")
        image = self._disk.read_bytes()
        scratch = self._disk.with_suffix(".part")
        if fault := flash_fault(image, scratch):
            faults.append(fault)
        torn = next((int(line[5:]) for line in told if line.startswith("torn ")), 0)
        return Outcome(faults, torn, "card refuses" in told,
                       with_card and card_fault(image, scratch) != "")

    def mend(self) -> bytes:
        """Has the card checked by fsck.vfat as it may be on a device's start: the disk then."""
        image = mended(self._disk.read_bytes(), self._disk.with_suffix(".part"))
        self._disk.write_bytes(image)
        return image

    def _too_many(self, paths: list[str]) -> list[str]:
        """Beside live files, their slots on the flash, and one on the card each."""
        flash = {"/flash" + path + slot for path in self._wanted for slot in ["", ".predownload"]}
        others = [path for path in paths if path not in flash]
        slots = [path for path in others if SLOT.fullmatch(path)]
        return ([f"a file too many: {path}" for path in others if path not in slots]
                + ["more slots on the card than files"] * (len(slots) > len(self._wanted)))

    def _ask(self, words: str) -> list[str]:
        assert self._session.stdin is not None and self._session.stdout is not None
        self._session.stdin.write(words + "\n")
        self._session.stdin.flush()
        answer: list[str] = []
        for line in self._session.stdout:
            if line == ".\n":
                return answer
            answer.append(line.rstrip("\n"))
        raise Failed(f"the machine has gone, asked to {words}: {answer}")
