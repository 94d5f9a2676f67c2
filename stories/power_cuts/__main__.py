"""Records every write of flash and card during first install, upgrade and rollback on the emulated
machine, with a card and without; then starts a device from the states that a power cut among them
leaves. Each must end up as the cloud says, with file systems that work and no file too many. On the
bench device; see scripts/power-cuts."""

import argparse
import random
import sys
import time
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

from stories.machine import Machine
from stories.power_cuts.check import Checker
from stories.power_cuts.disk import CARD_FROM, empty_disk, has_card, tables_of
from stories.power_cuts.record import SETTINGS, UPDATES, Recording, Release, prepare, record
from stories.power_cuts.write_log import Disk, prefixes, reordered
from stories.terminal import print_table, progress, say
from stories.world import FOLDER

States = Iterator[tuple[str, Disk]]
Work = Iterator[tuple[Recording, str, States]]


def record_all(release: Release, folder: Path, cards: list[str]) -> list[Recording]:
    recordings = []
    for card in cards:
        base = empty_disk(folder / card.replace(" ", "-"), SETTINGS, card == "with card")
        for update in UPDATES:
            name = f"{update.play.__name__.replace('_', ' ')}, {card}"
            progress(f"recording: {name}")
            made = record(update, name, base, release, folder)
            say(f"recorded: {name}, {sum(write.data != b'' for write in made.writes)} writes")
            recordings.append(made)
            base = recordings[-1].end if update is UPDATES[0] else base
    return recordings


@dataclass
class Tally:
    """What was seen of a recording."""

    name: str
    states: int = 0
    disks: set[int] = field(default_factory=set)
    contents: set[tuple[str, bytes]] = field(default_factory=set)
    started: int = 0
    converged: int = 0
    torn: int = 0
    card_refuses: int = 0
    card_needs_check: int = 0

    def row(self) -> list[str]:
        return [self.name, *map(str, [self.states, len(self.disks), len(self.contents),
                                      self.started, self.converged, self.torn,
                                      self.card_refuses, self.card_needs_check])]


HEAD = ["recording", "states", "distinct", "in files", "started", "converged", "with torn files",
        "card refuses writes", "card needs fsck"]


class Run:
    """Takes states of recordings to the checker and counts what comes of them."""

    def __init__(self, checker: Checker, keep: Path) -> None:
        self._checker = checker
        self._keep = keep
        self._start = time.monotonic()
        self.failed = 0

    def all(self, recording: Recording, states: States, tally: Tally) -> None:
        """Each state that differs from the others is looked at, and a device started from it."""
        self._checker.expect(recording.update.version)
        for moment, disk in states:
            tally.states += 1
            self._progress(tally)
            if disk.key not in tally.disks:
                tally.disks.add(disk.key)
                tally.contents.add((self._checker.look(disk.image), tables_of(disk.image)))
                self._start_from(disk, moment, tally)

    def _start_from(self, disk: Disk, moment: str, tally: Tally) -> None:
        outcome = self._checker.start(has_card(disk.image))
        tally.started += 1
        tally.torn += outcome.torn > 0
        tally.card_refuses += outcome.card_refuses
        tally.card_needs_check += outcome.card_needs_check
        faults = outcome.faults or (self._mend() if outcome.card_refuses else [])
        if not faults:
            tally.converged += 1
            return
        self.failed += 1
        image = self._keep / f"power-cut-{self.failed}.img"
        image.write_bytes(disk.image)
        say("\n    ".join([f"{tally.name}, {moment} ({image}):", *faults]))

    def _mend(self) -> list[str]:
        """What is still wrong at the next start, after a check of the card."""
        self._checker.look(self._checker.mend())
        outcome = self._checker.start(with_card=True)
        return outcome.faults or ["the card refuses after a check"] * outcome.card_refuses

    def _progress(self, tally: Tally) -> None:
        passed = time.monotonic() - self._start
        progress(f"{tally.name}: {tally.states} states, {len(tally.disks)} distinct, "
                 f"{tally.started} started, {tally.converged} converged; {passed:.0f} s")


def sample_of(recording: Recording, count: int, seed: int) -> States:
    """Half of them prefixes, half reordered."""
    dice = random.Random(seed)
    writes = recording.writes
    for cut in sorted(dice.randrange(len(writes)) for _ in range(count - count // 2)):
        *_, last = prefixes(recording.base, writes[:cut])
        yield last
    yield from reordered(recording.base, writes, CARD_FROM, count // 2, seed)


def work_of(recordings: list[Recording], arguments: argparse.Namespace) -> Work:
    if arguments.sample:
        share = -(-arguments.sample // len(recordings))
        for recording in recordings:
            yield recording, "sample", sample_of(recording, share, arguments.seed)
        return
    for recording in recordings:
        yield recording, "every cut", prefixes(recording.base, recording.writes)
    for recording in recordings:
        yield recording, "reordered", reordered(recording.base, recording.writes, CARD_FROM,
                                                arguments.reorderings, arguments.seed)


def check_all(work: Work, run: Run) -> list[Tally]:
    tallies = []
    for recording, way, states in work:
        tally = Tally(f"{recording.name}, {way}")
        tallies.append(tally)
        run.all(recording, states, tally)
        say(", ".join([tally.name, *map(" ".join, zip(tally.row()[1:], HEAD[1:]))]))
    return tallies


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="power-cuts")
    parser.add_argument("--sample", type=int, default=0)
    parser.add_argument("--reorderings", type=int, default=30)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep", type=Path, default=Path("build"))
    return parser.parse_args()


def main() -> int:
    arguments = parse_arguments()
    say(f"seed {arguments.seed}")
    release = prepare()
    cards = ["with card", "without card"]
    recordings = record_all(release, FOLDER, cards[:1] if arguments.sample else cards)
    disk = FOLDER / "state.img"
    disk.write_bytes(recordings[0].base)
    with Machine("--disk", f"file={disk},format=raw,file.locking=off") as machine:
        run = Run(Checker(machine, disk, release), arguments.keep)
        tallies = check_all(work_of(recordings, arguments), run)
    print_table([HEAD, *(tally.row() for tally in tallies)], right=range(1, len(HEAD)))
    return 1 if run.failed else 0


if __name__ == "__main__":
    sys.exit(main())
