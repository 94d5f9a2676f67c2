"""The disk of the power cuts: the flash as its first partition, the card as its second, so that one
recording has the writes of both in their order."""

import struct
import subprocess
from pathlib import Path

from stories.power_cuts.write_log import SECTOR

MIB = 1 << 20
FLASH = slice(1 * MIB, 9 * MIB)
CARD = slice(9 * MIB, 25 * MIB)
CARD_FROM = CARD.start // SECTOR
FAT_BYTES = 64 * 1024  # more than both tables take
CARD_PASSES = 5  # three were seen to be needed


def partition(kind: int, place: slice) -> bytes:
    return struct.pack("<BxxxBxxxII", 0, kind, place.start // SECTOR,
                       (place.stop - place.start) // SECTOR)


def format_flash(path: Path, files: Path) -> None:
    subprocess.run(["mke2fs", "-q", "-t", "ext4", "-b", "4096", "-d", files, "-E",
                    "lazy_itable_init=0,lazy_journal_init=0", path, "8M"], check=True,
                   stdout=subprocess.DEVNULL)


def format_card(path: Path) -> None:
    subprocess.run(["mkfs.vfat", "-F", "16", "-s", "4", "-C", path, "16384"], check=True,
                   stdout=subprocess.DEVNULL)


def empty_disk(folder: Path, settings: str, with_card: bool) -> bytes:
    """With nothing but its settings on the flash; made in `folder`, a new one."""
    files, flash, card = folder / "files", folder / "flash.img", folder / "card.img"
    (files / "config").mkdir(parents=True)
    (files / "config/.tolvar_config").write_text(settings)
    (files / "config/.user_config").write_text("r_encr=MACHINETOKEN0123\n")
    format_flash(flash, files)
    format_card(card)
    table = partition(0x83, FLASH) + (partition(0x0C, CARD) if with_card else b"")
    head = bytes(446) + table.ljust(64, b"\0") + b"\x55\xaa"
    volumes = flash.read_bytes() + (card.read_bytes() if with_card else b"")
    return head.ljust(FLASH.start, b"\0") + volumes


def has_card(image: bytes | bytearray) -> bool:
    return len(image) > int(CARD.start)


def tables_of(image: bytes | bytearray) -> bytes:
    """Where the card says which cluster belongs to which file: with the same files it may still let
    a new one take what an old one has."""
    return bytes(image[CARD.start:CARD.start + FAT_BYTES])


def flash_fault(image: bytes, scratch: Path) -> str:
    """What e2fsck has to say against the flash, else nothing."""
    scratch.write_bytes(image[FLASH])
    done = subprocess.run(["e2fsck", "-f", "-n", scratch], capture_output=True, text=True)
    return "" if done.returncode == 0 else done.stdout


def card_fault(image: bytes, scratch: Path) -> str:
    """The same of fsck.vfat and the card."""
    scratch.write_bytes(image[CARD])
    done = subprocess.run(["fsck.vfat", "-n", scratch], capture_output=True, text=True)
    return "" if done.returncode == 0 else done.stdout


def mended(image: bytes, scratch: Path) -> bytes:
    """The disk with its card as fsck.vfat leaves it, without the clusters that were lost. What one
    pass takes away may be what the next one stumbles over: it is run until it finds nothing."""
    scratch.write_bytes(image[CARD])
    for _ in range(CARD_PASSES):
        done = subprocess.run(["fsck.vfat", "-a", "-w", scratch], stdout=subprocess.DEVNULL)
        if done.returncode == 0:
            break
    return image[:CARD.start] + scratch.read_bytes()
