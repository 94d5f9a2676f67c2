"""What stories measure a process of the bench device by, and an update for it to make."""

import os
import re
from pathlib import Path

from stories.world import World

BULK = "Launch process bulk successfully"


def status_kb(pid: int, field: str, file: str = "smaps_rollup") -> int:
    """A number of a process's `file`, in kB."""
    found = re.search(rf"^{field}:\s*(\d+) kB", Path(f"/proc/{pid}/{file}").read_text(), re.M)
    assert found is not None
    return int(found[1])


def cpu_ns(pid: int) -> int:
    """Of all threads that the process has."""
    return sum(int(schedstat.read_text().split()[0])
               for schedstat in Path(f"/proc/{pid}/task").glob("*/schedstat"))


def publish_bulk(world: World, count: int, mib: int) -> list[str]:
    """A process "bulk" that is started by nothing, with `count` files; where they are served."""
    options = ["--label", "latest", "--process", "bulk", "--version", "1", "--entrypoint", ": &"]
    for number in range(count):
        Path(f"/run/file-{number}").write_bytes(os.urandom(mib << 20))
        options += ["--component", f"/run/file-{number},file-{number},/opt/bulk/{number}"]
    world.cloud.change("publish", *options)
    return [f"https://cloud.test:8443/files/file-{number}/1" for number in range(count)]


def spread(ratios: list[float]) -> str:
    """What holds of figures that swing from turn to turn."""
    ordered = sorted(ratios)
    return (f"{ordered[0]:.2f}, {ordered[len(ordered) // 2]:.2f}, {ordered[-1]:.2f} "
            f"(minimum, median, maximum of {len(ordered)})")
