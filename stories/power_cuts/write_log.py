"""The writes that QEMU has recorded of a disk (its blklogwrites), and the states of the disk that a
power cut among them leaves."""

import hashlib
import random
import struct
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

SECTOR = 512
PAGE_SECTORS = 8
MAGIC = 0x6A736677736872
FLUSH, DISCARD = 1, 4
WINDOW = 48  # how many of the last writes a device may have done in another order


@dataclass(frozen=True)
class Write:
    """What is written as a whole or not at all; no data for a flush."""

    sector: int
    data: bytes


def parts(sector: int, data: bytes, card_from: int) -> Iterator[Write]:
    """Power may go within a write, for a card between any two sectors. The flash writes pages, and
    its file system relies on that: half a superblock would be the end of it."""
    step = 1 if sector >= card_from else PAGE_SECTORS
    at = sector
    while at < sector + len(data) // SECTOR:
        after = min(at - at % step + step, sector + len(data) // SECTOR)
        yield Write(at, data[(at - sector) * SECTOR:(after - sector) * SECTOR])
        at = after


def read_log(path: Path, card_from: int) -> list[Write]:
    """Whatever the head says of their number: it is brought up to date now and then only. The disk
    is a card from the sector `card_from` on."""
    log = path.read_bytes()
    magic, _, _, size = struct.unpack_from("<QQQI", log)
    if (magic, size) != (MAGIC, SECTOR):
        raise ValueError(f"{path} is no log of writes")
    writes: list[Write] = []
    at = SECTOR
    while at < len(log):
        sector, count, flags, _ = struct.unpack_from("<QQQQ", log, at)
        at += SECTOR
        if flags & DISCARD:
            writes += parts(sector, bytes(count * SECTOR), card_from)
            continue
        writes += parts(sector, log[at:at + count * SECTOR], card_from)
        at += count * SECTOR
        if flags & FLUSH:
            writes.append(Write(sector, b""))
    return writes


class Disk:
    """A state of the disk. `key` is equal for equal states, and follows a write without a look at
    the rest."""

    def __init__(self, image: bytes) -> None:
        self.image = bytearray(image)
        self.key = 0

    def write(self, write: Write) -> None:
        for number in range(len(write.data) // SECTOR):
            self._write(write.sector + number, write.data[number * SECTOR:(number + 1) * SECTOR])

    def _write(self, sector: int, data: bytes) -> None:
        place = slice(sector * SECTOR, (sector + 1) * SECTOR)
        self.key ^= sector_key(sector, bytes(self.image[place])) ^ sector_key(sector, data)
        self.image[place] = data


def sector_key(sector: int, data: bytes) -> int:
    digest = hashlib.blake2b(data, digest_size=16, salt=sector.to_bytes(8, "little")).digest()
    return int.from_bytes(digest, "little")


def prefixes(base: bytes, writes: list[Write]) -> Iterator[tuple[str, Disk]]:
    """The disk as it was before any write and after each; the same object, changed."""
    disk = Disk(base)
    yield "before the first write", disk
    for number, write in enumerate(writes, 1):
        if write.data:
            disk.write(write)
            yield f"after write {number}", disk


def reordered(base: bytes, writes: list[Write], card_from: int, count: int,
              seed: int) -> Iterator[tuple[str, Disk]]:
    """`count` states in which of the last writes before a cut some are done and some not: those of
    the card, which nothing flushes, from the sector `card_from` on; of the flash those behind the
    last flush."""
    dice = random.Random(seed)
    for cut in sorted(dice.randrange(len(writes) + 1) for _ in range(count)):
        disk = Disk(base)
        first = max(0, cut - WINDOW)
        flushed = max((i for i in range(cut) if not writes[i].data), default=0)
        lost = {i for i in range(first, cut)
                if (i > flushed or writes[i].sector >= card_from) and dice.random() < 0.5}
        for i in range(cut):
            if i not in lost and writes[i].data:
                disk.write(writes[i])
        yield f"after write {cut} without {len(lost)} of the last {cut - first}", disk
