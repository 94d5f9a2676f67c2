"""The update of a component against curl and md5sum of the same file, in turns, on the bench
device: update_cost [MIB [TURNS]], 128 MiB and 7 unless given."""

import resource
import sys

from stories.measure import BULK, cpu_ns, publish_bulk, spread, status_kb
from stories.terminal import print_table, progress
from stories.world import World


def plain_ms(world: World, url: str) -> float:
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    world.device.run(f"curl --silent --fail --cacert /tmp/cacert.pem --output /opt/plain {url} && "
                     "md5sum /opt/plain")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime) * 1000


def update_ms(world: World) -> tuple[float, float]:
    """Of a host that starts without the file, from the manifest on; also its peak memory in MiB."""
    world.device.run("rm -rf /opt/bulk")
    mark = len(world.host.lines)
    world.host.start()
    world.host.expect("Got 1 processes from cloud", mark, 10)
    before = cpu_ns(world.host.pid)
    world.host.expect(BULK, mark, 120)
    taken = cpu_ns(world.host.pid) - before
    peak = status_kb(world.host.pid, "VmHWM", "status")
    world.host.end("TERM")
    return taken / 1e6, peak / 1024


def main(mib: int = 128, turns: int = 7) -> None:
    world = World()
    url, = publish_bulk(world, 1, mib)
    world.cloud.serve()
    world.device.run("rmdir /media/mmc")  # a copy to the card would be more than curl does
    rows = [["turn", "update", "curl and md5sum", "ratio", "peak memory"]]
    ratios: list[float] = []
    for turn in range(turns):
        progress(f"turn {turn + 1} of {turns}")
        plain = plain_ms(world, url)
        update, peak = update_ms(world)
        ratios.append(update / plain)
        rows.append([str(turn + 1), f"{update:.1f} ms", f"{plain:.1f} ms", f"{update / plain:.2f}",
                     f"{peak:.1f} MiB"])
    print_table(rows, right=range(5))
    print_table([["CPU of an update / of curl and md5sum", spread(ratios)]])


if __name__ == "__main__":
    main(*(int(word) for word in sys.argv[1:]))
