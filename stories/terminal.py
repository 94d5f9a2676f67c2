"""What a person looks at: tables, and how far a long run is."""

import sys
from collections.abc import Iterable, Sequence


def progress(text: str) -> None:
    """Shows `text` in place of the last such text, where the output is a terminal."""
    if sys.stdout.isatty():
        print(f"\r\033[K{text}", end="", flush=True)


def say(text: str) -> None:
    progress("")
    print(text, flush=True)


def print_table(rows: Iterable[Sequence[str]], right: Iterable[int] = ()) -> None:
    """Columns as wide as they must be, those of the indices `right` aligned to the right. A cell's
    further lines stand below its first. The first row is the head."""
    split = [[cell.split("\n") for cell in row] for row in rows]
    widths = [max(len(line) for cell in column for line in cell) for column in zip(*split)]
    say("")
    for row in split:
        for i in range(max(map(len, row))):
            cells = (cell[i] if i < len(cell) else "" for cell in row)
            print("  ".join(text.rjust(width) if at in right else text.ljust(width)
                            for at, (text, width) in enumerate(zip(cells, widths))).rstrip())
